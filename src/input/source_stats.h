// How bright a digital picture is, and what it takes to bring its middle tone to where a film
// expects one.
#pragma once

#include <cstdint>
#include <string_view>

namespace morva {

// Luminance (Rec. 709) of the picture reduced to 1024 pixels on its long side: values of the sorted
// pixels, not interpolated.
struct SourceStats {
  std::int32_t width = 0;   // of the reduced picture
  std::int32_t height = 0;  // pixels
  double p10 = 0.0;         // a tenth of the pixels is darker
  double p50 = 0.0;
  double p995 = 0.0;  // a two-hundredth is brighter
};

// `rgb` holds width * height * 3 samples of linear light, width and height at least 1; light is
// bounded as in a render.
SourceStats source_stats(const float* rgb, std::int32_t width, std::int32_t height);

// The gain, 0.25 to 64, that lays the median at 0.15 ("auto" and every word not named here); that
// also keeps the highlights below 0.9 ("highlights"), or lifts the shadows to 0.045 ("shadows").
// "as_shot" is a fixed 1.44, from a camera's rendering to a film's middle grey. 1 for a black
// picture.
double source_gain(std::string_view mode, const SourceStats& stats);

}  // namespace morva
