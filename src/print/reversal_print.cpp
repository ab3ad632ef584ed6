#include "print/reversal_print.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "film/couplers.h"
#include "film/layers.h"
#include "image/elementary.h"
#include "print/paper.h"
#include "print/slide.h"

namespace morva {

namespace {

constexpr double kDecades = 6.0;  // that a slide is read to
constexpr float kDarkestSlide = 1e-6f;

// The paper's density over all that a slide can let pass, from the darkest to clear film. The curve
// is costly, so it is taken in steps with straight lines between them. A density is then off by
// 9e-9 at the most, which shows in the last bit of at most one float in ten.
class DensityTable {
 public:
  explicit DensityTable(const ReversalPrintParams& params) : densities_(kSteps + 1) {
    for (int i = 0; i <= kSteps; ++i)
      densities_[i] = density_under_slide(params, i / kStepsPerDecade - kDecades);
  }

  // `light` is the log10 of a transmission, -6 .. 0.
  float operator()(float light) const {
    const double position = (static_cast<double>(light) + kDecades) * kStepsPerDecade;
    const int step = std::clamp(static_cast<int>(position), 0, kSteps - 1);
    const double below = densities_[step], above = densities_[step + 1];
    return static_cast<float>(below + (above - below) * (position - step));
  }

 private:
  static constexpr int kSteps = 1 << 16;
  static constexpr double kStepsPerDecade = kSteps / kDecades;
  std::vector<double> densities_;
};

// One row of transmissions becomes paper densities.
void expose_row(float* row, std::size_t n, const DensityTable& density, const HdCurve& curve) {
  // What is no number counts as the darkest.
  for (std::size_t i = 0; i < n; ++i) row[i] = std::min(std::max(kDarkestSlide, row[i]), 1.0f);
  elementary::log10f(row, row, n);
  for (std::size_t i = 0; i < n; ++i) row[i] = density(row[i]);
  soften_ends(curve, row, n);
}

}  // namespace

ReversalPrintParams reversal_print_params(const Json& paper, const Json& options) {
  ReversalPrintParams params;
  params.curve = paper_curve(paper, options);
  params.print_ev = get_number(options, "print_ev", 0.0);
  params.dye_purity = get_number(paper, "dye_purity", 0.0);
  return params;
}

double exposure_under_clear_film(const ReversalPrintParams& params) {
  return params.print_ev * kLog10Stop - kGreyDensity;
}

double density_under_slide(const ReversalPrintParams& params, double light) {
  const double read = std::clamp(light, -kDecades, 0.0);
  return params.curve.density(exposure_under_clear_film(params) - read);
}

void print_transmission(Image& slide, const ReversalPrintParams& params) {
  const std::size_t n = slide.row_samples();
  const DensityTable density(params);
  for (int y = 0; y < slide.h; ++y)
    expose_row(&slide.data[static_cast<std::size_t>(y) * n], n, density, params.curve);
  widen_dyes(slide, params.dye_purity);
  shine_through(slide, static_cast<float>(params.curve.dmin));
}

Image print_reversal(Image scene, const Json& film, const Json& paper, const Json& options,
                     double px_um, const Image* uneven, RenderContext& ctx) {
  Image print = develop_slide(std::move(scene), film, options, px_um, uneven, ctx);
  check_cancel(ctx);
  print_transmission(print, reversal_print_params(paper, options));
  apply_tone(print, paper_tone(paper));
  return print;
}

}  // namespace morva
