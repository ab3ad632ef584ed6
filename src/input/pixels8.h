// Decoded pixels of an ordinary file: 8 bits a channel, sRGB encoded, rows from the top as the file
// stores them (not yet turned upright).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "input/orientation.h"

namespace morva {

// The largest picture that is decoded, in pixels: 2^28 (16384 x 16384) is above every camera and
// flatbed, and its linear picture, 3 GiB of floats, is what a well-fitted machine can still hold.
inline constexpr std::uint64_t kMaxPixels = std::uint64_t{1} << 28;

// What a decoder writes for a pixel, in this order. RGB leaves the file's alpha out; BGRA has it
// beside colours that are not multiplied by it, and 255 where the file has none.
enum class PixelForm { kRgb, kBgra };

struct FreeBlock {
  void operator()(void* block) const { std::free(block); }
};
// From the C heap, so that a block can be handed to a host that frees it there.
using ByteBlock = std::unique_ptr<std::uint8_t[], FreeBlock>;

struct Pixels8 {
  std::int32_t w = 0;
  std::int32_t h = 0;
  PixelForm form = PixelForm::kRgb;
  ByteBlock data;  // h * w * channels()

  std::int32_t channels() const { return form == PixelForm::kRgb ? 3 : 4; }
  std::size_t samples() const { return static_cast<std::size_t>(h) * row_samples(); }
  std::size_t row_samples() const {
    return static_cast<std::size_t>(w) * static_cast<std::size_t>(channels());
  }
  std::uint8_t* row(std::size_t y) { return data.get() + y * row_samples(); }
};

// Writes one pixel in the form's order and gives the place of the next.
inline std::uint8_t* put_pixel(std::uint8_t* out, PixelForm form, std::uint8_t r, std::uint8_t g,
                               std::uint8_t b, std::uint8_t alpha = 255) {
  if (form == PixelForm::kRgb) {
    out[0] = r;
    out[1] = g;
    out[2] = b;
    return out + 3;
  }
  out[0] = b;
  out[1] = g;
  out[2] = r;
  out[3] = alpha;
  return out + 4;
}

// The colour of a sample that its file holds multiplied by alpha.
inline std::uint8_t without_alpha(std::uint8_t sample, std::uint8_t alpha) {
  if (alpha == 0) {
    return 0;
  }
  const int colour = (sample * 255 + alpha / 2) / alpha;
  return static_cast<std::uint8_t>(colour < 255 ? colour : 255);
}

// Throws the imaging error "value overflow" at "size" above kMaxPixels, "bad header" at "frame" for
// an empty picture.
void require_decodable_size(std::uint64_t w, std::uint64_t h);

// Pixels of the given size, not yet written: the system gives out the pages as the rows arrive, so
// a file that claims far more than it holds costs next to nothing. Throws as
// require_decodable_size, and std::bad_alloc.
Pixels8 make_pixels(std::uint64_t w, std::uint64_t h, PixelForm form);

// `pixels` turned; without a turn they pass through uncopied.
Pixels8 turned(Pixels8 pixels, Turn turn);

}  // namespace morva
