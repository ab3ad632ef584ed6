#include "print/paper.h"

#include <algorithm>

#include "film/exposure.h"
#include "image/elementary.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

constexpr double kLn10 = 2.302585092994046;
constexpr double kSoftestEnd = 0.45;  // of the range between a mid grey and that end

double light_through(float exposure) {
  return elementary::exp(exposure * kLn10);
}

// Light scattered in the enlarger spreads evenly over the sheet: a share of the mean is added
// everywhere.
void veil(float* exposure, std::size_t n, double flare) {
  double sum = 0.0;
  for (std::size_t i = 0; i < n; ++i) sum += light_through(exposure[i]);
  const double added = sum / static_cast<double>(n) * flare;
  for (std::size_t i = 0; i < n; ++i)
    exposure[i] = static_cast<float>(elementary::log10(added + light_through(exposure[i])));
}

SoftEnd soft_end(double dmid, double end, double strength, float direction) {
  SoftEnd soft;
  soft.mid = static_cast<float>(dmid);
  soft.range = static_cast<float>(std::max((end - dmid) * direction, 1e-6));
  soft.direction = direction;
  if (strength > 1e-6) soft.bend = static_cast<float>(strength) * direction;
  return soft;
}

void soften_end(float* density, std::size_t n, const SoftEnd& end) {
  if (end.bend == 0.0f) return;
  for (std::size_t i = 0; i < n; ++i) {
    const float t = std::max((density[i] - end.mid) * end.direction / end.range, 0.0f);
    density[i] -= end.bend * t * t;
  }
}

}  // namespace

double paper_grade(const Json& paper, double grade) {
  return truthy(get(paper, "fixed_grade")) ? 2.0 : grade;
}

HdCurve paper_curve(const Json& paper, double grade, double print_black, double print_white) {
  HdCurve curve =
      make_curve(get_number(paper, "dmin", 0.05), get_number(paper, "dmax", 2.1),
                 get_number(paper, "gamma", 1.8) * (0.6 + 0.2 * paper_grade(paper, grade)),
                 get_number(paper, "toe", 1.25), kGreyDensity);
  set_soft_ends(curve, print_black, print_white);
  return curve;
}

HdCurve paper_curve(const Json& paper, const Json& options) {
  return paper_curve(paper, get_number(options, "grade", 2.0),
                     get_number(options, "print_black", 0.0),
                     get_number(options, "print_white", 0.0));
}

void set_soft_ends(HdCurve& curve, double print_black, double print_white) {
  curve.shoulder_cut =
      std::clamp(print_black, 0.0, 1.0) * kSoftestEnd * std::max(curve.dmax - curve.dmid, 1e-6);
  curve.toe_lift =
      std::clamp(print_white, 0.0, 1.0) * kSoftestEnd * std::max(curve.dmid - curve.dmin, 1e-6);
}

PrintParams print_params_bw(const Json& paper, const Json& options) {
  PrintParams params;
  params.curve = paper_curve(paper, options);
  params.print_ev = get_number(options, "print_ev", 0.0);
  params.flare = get_number(paper, "flare", 0.0);
  params.tone = paper_tone(paper);
  return params;
}

PrintParams print_params_color(const Json& film, const Json& paper, const Json& options) {
  PrintParams params = print_params_bw(paper, options);
  params.look = get_object(film, "look");
  return params;
}

void paper_density(const HdCurve& curve, const float* density, float* out, std::size_t n,
                   double print_ev, double flare) {
  const float exposure = exposure_shift(print_ev);
  for (std::size_t i = 0; i < n; ++i) out[i] = exposure - density[i];
  if (flare > 0.0) veil(out, n, flare);
  curve.density(out, out, n);
  soften_ends(curve, out, n);
}

void paper_response(const HdCurve& curve, const float* density, float* out, std::size_t n,
                    double print_ev, double flare) {
  paper_density(curve, density, out, n, print_ev, flare);
  const auto white = static_cast<float>(curve.dmin);
  for (std::size_t i = 0; i < n; ++i) out[i] = -(out[i] - white);
  elementary::exp10f(out, out, n);
}

SoftEnd soft_black(const HdCurve& curve) {
  return soft_end(curve.dmid, curve.dmax, curve.shoulder_cut, 1.0f);
}

SoftEnd soft_white(const HdCurve& curve) {
  return soft_end(curve.dmid, curve.dmin, curve.toe_lift, -1.0f);
}

void soften_ends(const HdCurve& curve, float* density, std::size_t n) {
  soften_end(density, n, soft_black(curve));
  soften_end(density, n, soft_white(curve));
}

std::optional<std::array<float, 3>> paper_tone(const Json& paper) {
  const auto tone = three_numbers(get(paper, "tone"), "tone");
  if (!tone) return std::nullopt;
  return std::array{static_cast<float>((*tone)[0]), static_cast<float>((*tone)[1]),
                    static_cast<float>((*tone)[2])};
}

void clamp_to_sheet(Image& print) {
  for (float& v : print.data) v = v > 0.0f ? std::min(v, 1.0f) : 0.0f;
}

void apply_tone(Image& print, const std::optional<std::array<float, 3>>& tone) {
  if (tone) scale_channels(print, tone->data());
  clamp_to_sheet(print);
}

}  // namespace morva
