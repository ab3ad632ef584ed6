// A positive under a scanner: its flare and the darkest density that it tells from black, then what
// its optics and its software do to the file.
#pragma once

#include <optional>

#include "image/image.h"
#include "image/pixel_size.h"
#include "profiles/hd_curve.h"
#include "profiles/json_access.h"

namespace morva {

struct ScanParams {
  struct Black {
    float light = 0.0f;  // at the scanner's Dmax
    float range = 1.0f;  // from there to white
  };
  double flare = 0.0;          // added light, of white
  std::optional<Black> black;  // of a scanner that states its Dmax
  double gain = 1.0;           // of the exposure
  double contrast = 1.0;       // exponent, above 0: black stays black
  HdCurve ends;                // soft black and white on a scale of densities from 0 to dmax
};

// Whether the soft ends, the contrast bend anything.
bool has_ends(const ScanParams& params);
bool has_contrast(const ScanParams& params);

// Options `print_ev`, `grade`, `print_black` and `print_white`; the paper's `scan` object, and
// `fixed_exposure` and `fixed_grade` of the paper itself. Finite, whatever stands in the file.
ScanParams scan_params(const Json& paper, const Json& options);

// Light of the positive (linear, three channels) as the scanner reads it, 0..1.
Image scan_positive(Image positive, const Json& paper, const Json& options);

// The size of the file of a positive: only a larger one is scaled, to the long side that the
// scanner gives.
PixelSize scan_file_size(PixelSize positive, const Json& paper);

// What becomes of the file: lengths in pixels, 0 for a step that is left out.
struct ScanFileParams {
  double optics_sigma_px = 0.0;  // of the blur, before the size changes
  PixelSize size;
  double sharpen_sigma_px = 0.0;
  float sharpen = 0.0f;       // how often the difference from the blurred picture is added
  std::optional<float> knee;  // light above which highlights are pressed
};

inline constexpr float kPressedSlope = 0.25f;  // of the highlights above the knee

ScanFileParams scan_file_params(PixelSize positive, const Json& paper);

// Blur, size, sharpening and clipped highlights of the file, 0..1.
Image scan_finish(Image positive, const Json& paper);

}  // namespace morva
