// Photographic paper: from a density in the enlarger to light reflected, by one H&D curve.
#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "image/image.h"
#include "profiles/hd_curve.h"
#include "profiles/json_access.h"

namespace morva {

// The paper's curve at a grade: one grade is a fifth of the slope at grade 2. `print_black` and
// `print_white`, 0..1, soften the ends. A paper of `fixed_grade` stays at grade 2.
HdCurve paper_curve(const Json& paper, double grade, double print_black, double print_white);

struct PrintParams {
  HdCurve curve;
  double print_ev = 0.0;                     // exposure of the print, stops
  double flare = 0.0;                        // share of the mean light that veils the sheet
  Json look;                                 // the film's look; colour prints only
  std::optional<std::array<float, 3>> tone;  // colour of the paper's image
};

PrintParams print_params_bw(const Json& paper, const Json& options);
PrintParams print_params_color(const Json& film, const Json& paper, const Json& options);

// Reflectance relative to paper white, linear, for `n` densities relative to mid grey. `out` may be
// `density` itself.
void paper_response(const HdCurve& curve, const float* density, float* out, std::size_t n,
                    double print_ev, double flare);

// The image colour of a paper, when its `tone` is an array of three.
std::optional<std::array<float, 3>> paper_tone(const Json& paper);

// Multiplies a three-channel print by the paper's tone, when it has one, and clamps it to 0..1. In
// place.
void apply_tone(Image& print, const std::optional<std::array<float, 3>>& tone);

}  // namespace morva
