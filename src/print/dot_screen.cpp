#include "print/dot_screen.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

#include "image/elementary.h"
#include "image/held.h"

namespace morva {

namespace {

// One period of a wave, to be read at any phase.
class PeriodTable {
 public:
  explicit PeriodTable(double second_harmonic) : values_(kSteps) {
    for (int i = 0; i < kSteps; ++i) {
      const double phase = 2.0 * std::numbers::pi * i / kSteps;
      values_[i] = static_cast<float>(elementary::cos(phase) +
                                      second_harmonic * elementary::cos(2.0 * phase));
    }
  }
  float at(double periods) const {
    const double phase = periods - std::floor(periods);
    return values_[static_cast<std::size_t>(phase * kSteps) & (kSteps - 1)];
  }

 private:
  static constexpr int kSteps = 4096;
  std::vector<float> values_;
};

// A wave fades as its period nears two pixels, and is whole from four on.
double seen_by_pixels(double period_mm, const PulledSheet& sheet) {
  return held((period_mm / sheet.mm_per_px - 2.0) / 2.0, 0.0, 1.0);
}

}  // namespace

DotScreen dot_screen(const Json& film, double strength) {
  const Json& block = get_object(get_object(film, "texture"), "dot_screen");
  DotScreen s;
  if (block.empty()) return s;
  s.amp = held(get_number(block, "amp", 0.042) * strength, 0.0, kStrongestMark);
  s.pitch_mm = length_mm(block, "pitch_mm", 0.36);
  s.row_mm = length_mm(block, "row_mm", 0.72);
  s.row_line = gain_of(block, "row_line", 1.0);
  s.dot = gain_of(block, "dot", 0.8);
  s.jitter_mm = held(get_number(block, "jitter_mm", 0.02), 0.0, 100.0);
  s.jitter_sigma_mm = length_mm(block, "jitter_sigma_mm", 1.5);
  s.mod = gain_of(block, "mod", 0.3);
  s.mod_sigma_mm = length_mm(block, "mod_sigma_mm", 2.0);
  s.grain = gain_of(block, "grain", 0.38);
  s.grain_mm = length_mm(block, "grain_mm", 0.04);
  s.d_gain = gain_of(block, "d_gain", 0.0);
  s.d_range = density_range(block);
  return s;
}

void add_dot_screen(Image& density, const PulledSheet& sheet, const DotScreen& s, Rng& rng) {
  constexpr double second_harmonic = 0.35;
  const double grain_px = held(s.grain_mm / sheet.mm_per_px, 0.0, 64.0);
  const auto dot = static_cast<float>(s.amp * s.dot * seen_by_pixels(s.pitch_mm, sheet));
  const auto line = static_cast<float>(s.amp * 0.5 * s.row_line * seen_by_pixels(s.row_mm, sheet));
  const auto grain_amp = static_cast<float>(s.amp * s.grain * std::min(1.0, grain_px));
  if (dot == 0.0f && line == 0.0f && grain_amp == 0.0f) return;
  SheetField strays(rng, sheet, s.jitter_sigma_mm, s.jitter_sigma_mm);
  SheetField patches(rng, sheet, s.mod_sigma_mm, s.mod_sigma_mm);
  const Image grain = unit_noise(rng, density.h, density.w, grain_px);
  const PeriodTable dots(second_harmonic), rows(0.0);
  const auto mod = static_cast<float>(s.mod), d_gain = static_cast<float>(s.d_gain);
  const int channels = density.c;
  float* d = density.data.data();
  std::size_t i = 0;
  for (int y = 0; y < density.h; ++y) {
    const float* stray = strays.row(y);
    const float* patch = patches.row(y);
    for (int x = 0; x < density.w; ++x, ++i, d += channels) {
      const double stray_mm = s.jitter_mm * stray[x];
      const double along_mm = (sheet.pulled_down ? y : x) * sheet.mm_per_px + stray_mm;
      const double across_mm = (sheet.pulled_down ? x : y) * sheet.mm_per_px + stray_mm;
      const double row = along_mm / s.row_mm;
      const bool aside = (static_cast<std::int64_t>(std::floor(row + 0.5)) & 1) != 0;
      const float wave = rows.at(row);
      const float dotted =
          dots.at(across_mm / s.pitch_mm + (aside ? 0.5 : 0.0)) * (0.5f + 0.5f * wave);
      const float screen = (dot * dotted + line * wave) * (1.0f + mod * patch[x]);
      const float dark = s.d_range.of(mean_density(d, channels));
      const float added = (screen + grain_amp * grain.data[i]) * (1.0f + d_gain * dark);
      for (int k = 0; k < channels; ++k) d[k] += added;
    }
  }
}

}  // namespace morva
