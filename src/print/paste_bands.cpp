#include "print/paste_bands.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "image/elementary.h"
#include "image/held.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

using Rgb = std::array<float, 3>;

// The value for this size of sheet where `by_size` lists it, else that of `key`.
double for_size(const Json& block, const std::string& by_size, const std::string& key,
                const std::string& size, double fallback) {
  const Json& listed = get_object(block, by_size);
  return has(listed, size) ? get_number(listed, size, fallback) : get_number(block, key, fallback);
}

Rgb colour(const Json& value, const char* name) {
  Rgb rgb = {1.0f, 1.0f, 1.0f};
  if (const auto numbers = three_numbers(value, name))
    for (int k = 0; k < 3; ++k)
      rgb[k] = static_cast<float>(held((*numbers)[k], -kStrongestMark, kStrongestMark));
  return rgb;
}

// One card's bands in units of their amplitude, a row at a time. Shares are of variance: what
// clouds and coarse bands have of it, the fine bands lack.
class BandRows {
 public:
  BandRows(Rng& rng, const PulledSheet& sheet, const PasteBands& p)
      : cluster_mod_(static_cast<float>(p.cluster_mod)),
        fine_weight_(weight(held(1.0 - p.iso_share - p.coarse_share, 0.0, 1.0))),
        cloud_weight_(weight(p.iso_share)),
        coarse_weight_(weight(p.coarse_share)),
        fine_(rng, sheet, p.along_mm, p.across_mm) {
    if (p.iso_share > 0.0) clouds_.emplace(rng, sheet, p.iso_mm, p.iso_mm);
    if (p.coarse_share > 0.0) coarse_.emplace(rng, sheet, p.coarse_along_mm, p.coarse_across_mm);
    if (p.cluster_mod != 0.0) groups_.emplace(rng, sheet, p.cluster_mm, p.cluster_mm);
  }

  // Fine bands with the round clouds among them, in groups; and coarse bands. Of the sheet's width.
  void row(int y, std::vector<float>& bands, std::vector<float>& coarse) {
    const std::size_t n = bands.size();
    const float* fine = fine_.row(y);
    for (std::size_t x = 0; x < n; ++x) bands[x] = fine[x] * fine_weight_;
    if (clouds_) {
      const float* clouds = clouds_->row(y);
      for (std::size_t x = 0; x < n; ++x) bands[x] += clouds[x] * cloud_weight_;
    }
    if (groups_) {
      const float* groups = groups_->row(y);
      for (std::size_t x = 0; x < n; ++x)
        bands[x] *= std::max(0.0f, 1.0f + cluster_mod_ * groups[x]);
    }
    if (coarse_) {
      const float* wide = coarse_->row(y);
      for (std::size_t x = 0; x < n; ++x) coarse[x] = wide[x] * coarse_weight_;
    }
  }

 private:
  static float weight(double share) { return static_cast<float>(std::sqrt(share)); }

  float cluster_mod_, fine_weight_, cloud_weight_, coarse_weight_;
  SheetField fine_;
  std::optional<SheetField> clouds_, coarse_, groups_;
};

// Gain of the bands along the pull: the puller's hand starts and stops with a jerk.
std::vector<float> gain_at_ends(const PulledSheet& sheet, const PasteBands& p) {
  const int n = sheet.long_px();
  std::vector<float> line(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    const double from_end_mm = (std::min(i, n - 1 - i) + 0.5) * sheet.mm_per_px;
    line[i] = static_cast<float>(1.0 + p.end_gain * elementary::exp(-from_end_mm / p.end_mm));
  }
  return line;
}

// Paste squeezed outwards lies thicker along the long edges and thins out within their band.
std::vector<float> paste_at_edges(const PulledSheet& sheet, const PasteBands& p) {
  const int n = sheet.short_px();
  std::vector<float> line(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    const double from_edge = (std::min(i, n - 1 - i) + 0.5) * sheet.mm_per_px / p.paste_mm;
    const double t = held(1.0 - from_edge, 0.0, 1.0);
    line[i] = static_cast<float>(t * t * (3.0 - 2.0 * t));
  }
  return line;
}

}  // namespace

PasteBands paste_bands(const Json& film, double strength) {
  const Json& block = get_object(get_object(film, "texture"), "chatter");
  const std::string size = noted_peel_size(film);
  const double rough = held(get_number(film, "_temp_rough", 1.0), 0.0, kStrongestMark) *
                       held(get_number(film, "_dev_mottle", 1.0), 0.0, kStrongestMark) * strength;
  PasteBands p;
  if (block.empty()) return p;
  p.amp = held(for_size(block, "amp_by_size", "amp", size, 0.0125) * rough, 0.0, kStrongestMark);
  p.paste_amp = held(get_number(block, "paste_amp", 0.0) * rough, -kStrongestMark, kStrongestMark);
  p.card_var = share_of(block, "card_var", 0.3);
  p.end_gain = gain_of(block, "end_gain", 0.0);
  p.end_mm = length_mm(block, "end_mm", 8.0);
  p.along_mm = length_mm(block, "along_mm", 0.75);
  p.across_mm = length_mm(block, "across_mm", 3.5);
  p.iso_share = share_of(block, "iso_share", 0.0);
  p.iso_mm = length_mm(block, "iso_mm", 1.5);
  p.coarse_share = share_of(block, "coarse_share", 0.0);
  p.coarse_along_mm = length_mm(block, "coarse_along_mm", 2.5);
  p.coarse_across_mm = length_mm(block, "coarse_across_mm", 8.0);
  p.coarse_floor = share_of(block, "coarse_floor", 0.3);
  p.cluster_mod = gain_of(block, "cluster_mod", 0.0);
  p.cluster_mm = length_mm(block, "cluster_mm", 12.0);
  p.paste_mm = held(for_size(block, "paste_mm_by_size", "paste_mm", size, 5.7), 0.01, 1000.0);
  p.d_gain = gain_of(block, "d_gain", 0.0);
  p.d_range = density_range(block);
  if (const Json& pair = get(block, "pair"); pair.is_array() && pair.size() == 2) {
    p.thick = colour(pair[0], "pair");
    p.thin = colour(pair[1], "pair");
  }
  p.edge = colour(get(block, "color"), "color");
  return p;
}

void add_paste_bands(Image& density, const PulledSheet& sheet, const PasteBands& p, Rng& rng) {
  const double of_this_card = rng.uniform(1.0 - p.card_var, 1.0 + p.card_var);
  BandRows rows(rng, sheet, p);
  const std::vector<float> ends = gain_at_ends(sheet, p);
  const std::vector<float> edges = paste_at_edges(sheet, p);
  const auto amp = static_cast<float>(p.amp * of_this_card);
  const auto paste = static_cast<float>(p.paste_amp * of_this_card);
  const auto d_gain = static_cast<float>(p.d_gain);
  const auto floor = static_cast<float>(p.coarse_floor);
  constexpr float edge_unevenness = 0.35f;
  const int channels = density.c;
  std::vector<float> bands(static_cast<std::size_t>(density.w)), coarse(bands.size());
  float* d = density.data.data();
  for (int y = 0; y < density.h; ++y) {
    rows.row(y, bands, coarse);
    for (int x = 0; x < density.w; ++x, d += channels) {
      const int along = sheet.pulled_down ? y : x;
      const int across = sheet.pulled_down ? x : y;
      const float dark = p.d_range.of(mean_density(d, channels));
      const float n = bands[x] + coarse[x] * (floor + (1.0f - floor) * dark);
      const float band = amp * ends[along] * (1.0f + d_gain * dark) * n;
      const float edge = paste * edges[across] * std::max(0.0f, 1.0f + edge_unevenness * n);
      const Rgb& tint = n > 0.0f ? p.thick : p.thin;
      for (int k = 0; k < channels; ++k) d[k] += band * tint[k] + edge * p.edge[k];
    }
  }
}

}  // namespace morva
