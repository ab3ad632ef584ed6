#include "repro/head_banding.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>

#include "image/elementary.h"
#include "image/held.h"

namespace morva {

namespace {

constexpr double kLeastPassPx = 2.0;
constexpr double kNarrowestSeamPx = 0.1;
constexpr double kWidestSeam = 16.0;  // in passes: seams of more say nothing more
constexpr double kSeamReach = 9.0;    // in sigmas: beyond it no seam moves a float
constexpr double kWholeTurn = 6.28;   // radians that a phase is drawn from
constexpr double kLeastPeriodPx = 1e-6;
constexpr double kHuge = std::numeric_limits<double>::max();

using Line = std::vector<double>;

int pass_of(std::size_t position, double pass_px) {
  return static_cast<int>(static_cast<double>(position) / pass_px);
}

void vary_passes(Line& line, double pass_px, double deviation, Rng& rng) {
  int pass = -1;
  double factor = 1.0;
  for (std::size_t k = 0; k < line.size(); ++k) {
    for (; pass < pass_of(k, pass_px); ++pass) factor = 1.0 + deviation * rng.normal();
    line[k] = factor;
  }
}

void lay_seam(Line& line, double at, double sigma, double amp) {
  const double last = static_cast<double>(line.size() - 1);
  const auto from = static_cast<std::size_t>(held(std::ceil(at - kSeamReach * sigma), 0.0, last));
  const auto to = static_cast<std::size_t>(held(std::floor(at + kSeamReach * sigma), 0.0, last));
  for (std::size_t k = from; k <= to; ++k) {
    const double off = (static_cast<double>(k) - at) / sigma;
    line[k] = held_finite(line[k] * (1.0 + amp * elementary::exp(-0.5 * (off * off))));
  }
}

void lay_seams(Line& line, double pass_px, double sigma, double amp, Rng& rng) {
  const int passes = pass_of(line.size() - 1, pass_px) + 1;
  for (int seam = 1; seam < passes; ++seam)
    lay_seam(line, seam * pass_px, sigma, rng.uniform() < 0.5 ? -amp : amp);
}

void add_ripple(Line& line, double period_px, double amp, double phase) {
  const double per_px = 2.0 * std::numbers::pi / period_px;
  for (std::size_t k = 0; k < line.size(); ++k)
    line[k] *= 1.0 + amp * elementary::sin(static_cast<double>(k) * per_px + phase);
}

}  // namespace

std::vector<float> banding_line(int n, const HeadBanding& head, Rng& rng) {
  if (n <= 0) return {};
  const double pass_px = held(head.pass_px, kLeastPassPx, kHuge);
  const double widest_seam = std::min(kWidestSeam * pass_px, 1e9);
  Line line(static_cast<std::size_t>(n));
  vary_passes(line, pass_px, held_finite(head.pass_deviation), rng);
  if (head.seams)
    lay_seams(line, pass_px, held(head.seam_px, kNarrowestSeamPx, widest_seam),
              held_finite(head.seam_amp), rng);
  if (head.ripple)
    add_ripple(line, held(head.nozzle_px, kLeastPeriodPx, kHuge), held_finite(head.ripple_amp),
               rng.uniform(0.0, kWholeTurn));
  return {line.begin(), line.end()};
}

}  // namespace morva
