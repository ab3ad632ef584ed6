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
  double flare = 0.0;             // added light, of white
  std::optional<double> darkest;  // light at the scanner's Dmax, where it has one
  double gain = 1.0;              // of the exposure
  double contrast = 1.0;          // exponent, above 0: black stays black
  HdCurve ends;                   // soft black and white on a scale of densities from 0 to dmax
};

// Options `print_ev`, `grade`, `print_black` and `print_white`; the paper's `scan` object, and
// `fixed_exposure` and `fixed_grade` of the paper itself. Finite, whatever stands in the file.
ScanParams scan_params(const Json& paper, const Json& options);

// Light of the positive (linear, three channels) as the scanner reads it, 0..1.
Image scan_positive(Image positive, const Json& paper, const Json& options);

// The size of the file of a positive: only a larger one is scaled, to the long side that the
// scanner gives.
PixelSize scan_file_size(PixelSize positive, const Json& paper);

// Blur, size, sharpening and clipped highlights of the file, 0..1.
Image scan_finish(Image positive, const Json& paper);

}  // namespace morva
