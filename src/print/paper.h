// Photographic paper: from a density in the enlarger to light reflected, by one H&D curve.
#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "image/image.h"
#include "profiles/hd_curve.h"
#include "profiles/json_access.h"

namespace morva {

// The grade that a paper has where `grade` is asked for: one of `fixed_grade` stays at 2.
double paper_grade(const Json& paper, double grade);

// The paper's curve at a grade: one grade is a fifth of the slope at grade 2. `print_black` and
// `print_white`, 0..1, soften the ends.
HdCurve paper_curve(const Json& paper, double grade, double print_black, double print_white);

// As the options `grade`, `print_black` and `print_white` ask for it.
HdCurve paper_curve(const Json& paper, const Json& options);

// Its two soft ends alone, on a curve whose dmin, dmid and dmax are set.
void set_soft_ends(HdCurve& curve, double print_black, double print_white);

struct PrintParams {
  HdCurve curve;
  double print_ev = 0.0;                     // exposure of the print, stops
  double flare = 0.0;                        // share of the mean light that veils the sheet
  Json look;                                 // the film's look; colour prints only
  std::optional<std::array<float, 3>> tone;  // colour of the paper's image
};

PrintParams print_params_bw(const Json& paper, const Json& options);
PrintParams print_params_color(const Json& film, const Json& paper, const Json& options);

// Density of the paper, its white included, for `n` densities of a negative relative to mid grey.
// `out` may be `density` itself.
void paper_density(const HdCurve& curve, const float* density, float* out, std::size_t n,
                   double print_ev, double flare);

// Reflectance relative to paper white, linear, for `n` densities relative to mid grey. `out` may be
// `density` itself.
void paper_response(const HdCurve& curve, const float* density, float* out, std::size_t n,
                    double print_ev, double flare);

// One soft end of a curve: from a mid grey to it, a density loses `bend` times the square of the
// way.
struct SoftEnd {
  float mid = 0.0f;        // density of a mid grey
  float range = 1.0f;      // from there to the end
  float direction = 1.0f;  // 1 towards black, -1 towards white
  float bend = 0.0f;       // 0: the end is as hard as the curve
};

SoftEnd soft_black(const HdCurve& curve);
SoftEnd soft_white(const HdCurve& curve);

// Bends the ends of `n` paper densities by the curve's soft black and white. In place.
void soften_ends(const HdCurve& curve, float* density, std::size_t n);

// The image colour of a paper, when its `tone` is an array of three.
std::optional<std::array<float, 3>> paper_tone(const Json& paper);

// Light to 0..1; what is no number is black. In place.
void clamp_to_sheet(Image& print);

// Multiplies a three-channel print by the paper's tone, when it has one, and clamps it to 0..1. In
// place.
void apply_tone(Image& print, const std::optional<std::array<float, 3>>& tone);

}  // namespace morva
