#include "input/pixels8.h"

#include <new>
#include <utility>

#include "input/imaging_error.h"

namespace morva {

void require_decodable_size(std::uint64_t w, std::uint64_t h) {
  if (w == 0 || h == 0) {
    fail_imaging(ImagingStep::kFrame, ImagingCode::kBadHeader);
  }
  if (w > kMaxPixels || h > kMaxPixels || w * h > kMaxPixels) {
    fail_imaging(ImagingStep::kSize, ImagingCode::kValueOverflow);
  }
}

Pixels8 make_pixels(std::uint64_t w, std::uint64_t h, PixelForm form) {
  require_decodable_size(w, h);
  Pixels8 pixels;
  pixels.w = static_cast<std::int32_t>(w);
  pixels.h = static_cast<std::int32_t>(h);
  pixels.form = form;
  pixels.data.reset(static_cast<std::uint8_t*>(std::malloc(pixels.samples())));
  if (!pixels.data) {
    throw std::bad_alloc();
  }
  return pixels;
}

Pixels8 turned(Pixels8 pixels, Turn turn) {
  if (turn.identity()) {
    return pixels;
  }
  std::uint64_t w = static_cast<std::uint64_t>(pixels.w);
  std::uint64_t h = static_cast<std::uint64_t>(pixels.h);
  if (turn.swaps_sides()) {
    std::swap(w, h);
  }
  Pixels8 out = make_pixels(w, h, pixels.form);
  turn_samples(pixels.data.get(), pixels.h, pixels.w, pixels.channels(), turn, out.data.get());
  return out;
}

}  // namespace morva
