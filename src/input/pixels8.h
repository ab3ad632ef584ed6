// Decoded pixels of an ordinary file: 8 bits a channel, R, G, B, sRGB encoded, rows from the top as
// the file stores them (not yet turned upright).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace morva {

// The largest picture that is decoded, in pixels: 2^28 (16384 x 16384) is above every camera and
// flatbed, and its linear picture, 3 GiB of floats, is what a well-fitted machine can still hold.
inline constexpr std::uint64_t kMaxPixels = std::uint64_t{1} << 28;

struct Pixels8 {
  std::int32_t w = 0;
  std::int32_t h = 0;
  std::unique_ptr<std::uint8_t[]> rgb;  // h * w * 3

  std::size_t samples() const { return static_cast<std::size_t>(h) * row_samples(); }
  std::size_t row_samples() const { return static_cast<std::size_t>(w) * 3; }
  std::uint8_t* row(std::size_t y) { return rgb.get() + y * row_samples(); }
};

// Throws the imaging error "value overflow" at "size" above kMaxPixels, "bad header" at "frame" for
// an empty picture.
void require_decodable_size(std::uint64_t w, std::uint64_t h);

// Pixels of the given size, not yet written: the system gives out the pages as the rows arrive, so
// a file that claims far more than it holds costs next to nothing. Throws as
// require_decodable_size.
Pixels8 make_pixels(std::uint64_t w, std::uint64_t h);

}  // namespace morva
