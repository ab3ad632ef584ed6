#include "input/pixels8.h"

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

Pixels8 make_pixels(std::uint64_t w, std::uint64_t h) {
  require_decodable_size(w, h);
  Pixels8 pixels;
  pixels.w = static_cast<std::int32_t>(w);
  pixels.h = static_cast<std::int32_t>(h);
  pixels.rgb = std::make_unique_for_overwrite<std::uint8_t[]>(pixels.samples());
  return pixels;
}

}  // namespace morva
