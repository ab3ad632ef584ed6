#include "print/instant_texture.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>
#include <vector>

#include "image/elementary.h"
#include "image/filters.h"
#include "image/held.h"
#include "print/sheet_field.h"
#include "print/smooth_field.h"

namespace morva {

namespace {

constexpr double kLongestPeriodPx = 64.0;  // of silk, so that its kernels stay short

double amplitude(const Json& texture, const char* key, double strength) {
  const double amp = get_number(texture, key, 0.0) * strength;
  return amp > kWeakestMark ? std::min(amp, kStrongestMark) : 0.0;
}

// A flag counts as the full lattice.
double lattice_share(const Json& texture) {
  const Json& lattice = get(texture, "silk_lattice");
  return truthy(lattice) ? held(as_number(lattice, "silk_lattice"), 0.0, kStrongestMark) : 0.0;
}

void add_to_every_layer(Image& density, const Image& field, double amp) {
  const auto a = static_cast<float>(amp);
  const std::size_t channels = static_cast<std::size_t>(density.c);
  float* d = density.data.data();
  for (const float f : field.data)
    for (std::size_t k = 0; k < channels; ++k) *d++ += f * a;
}

void add_to_layer(Image& density, int layer, const Image& field, double amp) {
  const auto a = static_cast<float>(amp);
  const std::size_t channels = static_cast<std::size_t>(density.c);
  float* d = density.data.data() + layer;
  for (const float f : field.data) {
    *d += f * a;
    d += channels;
  }
}

// Cloudy development: the reagent's layer is thicker here than there, which all dyes share, and
// each dye finds its own way through it.
void add_mottle(Image& density, const InstantTexture& t, Rng& rng) {
  constexpr double shared = 0.75;
  constexpr double of_each_layer = 0.45;
  add_to_every_layer(density, unit_noise(rng, density.h, density.w, t.mottle_sigma_px),
                     t.mottle * shared);
  if (density.c != 3) return;
  for (int layer = 0; layer < 3; ++layer)
    add_to_layer(density, layer, unit_noise(rng, density.h, density.w, t.mottle_sigma_px),
                 t.mottle * of_each_layer);
}

// The opacifier and the dye clouds, at the scale of what the picture resolves.
void add_fine(Image& density, double amp, Rng& rng) {
  constexpr double sigma_px = 0.6;
  add_to_every_layer(density, unit_noise(rng, density.h, density.w, sigma_px), amp);
}

// Dirt on a roller leaves a thinner or thicker line all along the picture's travel, which is taken
// to be down the picture as it is seen, whichever way the card lies.
void add_streaks(Image& density, double amp, double sigma_px, Rng& rng) {
  Image line = spread_noise(rng, density.w, 1, sigma_px, 0.0);
  take_off_mean(line);  // nearly all there is where the picture is much taller than wide
  scale_to_unit_deviation(line);
  const auto a = static_cast<float>(amp);
  float* d = density.data.data();
  for (int y = 0; y < density.h; ++y)
    for (const float v : line.data)
      for (int k = 0; k < density.c; ++k) *d++ += v * a;
}

// The irregular part of the silk: noise within an octave and a half of the weave's frequency, its
// threads drawn out across the card.
Image woven_noise(int h, int w, double period_px, Rng& rng) {
  constexpr double fine_share = 0.5, coarse_share = 1.6, thread_share = 2.2;
  Image noise(h, w, 1);
  rng.fill_normals(noise.data.data(), noise.data.size());
  const Image coarse = blur_plane(noise, coarse_share * period_px);
  Image band = blur_plane(noise, fine_share * period_px);
  for (std::size_t i = 0; i < band.data.size(); ++i) band.data[i] -= coarse.data[i];
  const double sigma_px = thread_share * period_px;
  correlate1d(band.data.data(), noise.data.data(), h, w, true,
              gaussian_kernel(sigma_px, gaussian_radius(sigma_px)), kBoundaryReflect);
  scale_to_unit_deviation(noise);
  return noise;
}

std::vector<float> wave(int n, double period_px) {
  std::vector<float> line(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i)
    line[i] = static_cast<float>(elementary::cos((i + 0.5) / period_px * (2.0 * std::numbers::pi)));
  return line;
}

// The regular part: weft, warp and their twill, to unit deviation.
void add_lattice(Image& field, double period_px, double share) {
  constexpr double weft = 0.75, warp = 0.35, twill = 0.25;
  const double deviation = std::sqrt((weft * weft + warp * warp + twill * twill / 2.0) / 2.0);
  const auto a = static_cast<float>(share * weft / deviation);
  const auto b = static_cast<float>(share * warp / deviation);
  const auto c = static_cast<float>(share * twill / deviation);
  const std::vector<float> across = wave(field.w, period_px);
  const std::vector<float> down = wave(field.h, period_px);
  float* f = field.data.data();
  for (int y = 0; y < field.h; ++y)
    for (int x = 0; x < field.w; ++x) *f++ += b * across[x] + (a + c * across[x]) * down[y];
}

// A pixel as wide as the weave averages it away: from four pixels a period down to one it fades.
double seen_by_pixels(double period_px) {
  return held((period_px - 1.0) / 3.0, 0.0, 1.0);
}

// The sheet over the picture is embossed like silk.
void add_silk(Image& density, const InstantTexture& t, Rng& rng) {
  Image field = woven_noise(density.h, density.w, t.silk_period_px, rng);
  if (t.silk_lattice > 0.0) add_lattice(field, t.silk_period_px, t.silk_lattice);
  add_to_every_layer(density, field, t.silk * seen_by_pixels(t.silk_period_px));
}

}  // namespace

InstantTexture instant_texture(const Json& film, double strength, int h, int w) {
  InstantTexture t;
  if (!(strength >= kWeakestTexture)) return t;
  const Json& record = get_object(film, "texture");
  const double long_px = std::max(h, w);
  t.mottle = amplitude(record, "mottle_amp", strength);
  t.mottle_sigma_px =
      held(get_number(record, "mottle_scale", 0.05) * long_px, 4.0, std::max(4.0, long_px));
  t.fine = amplitude(record, "fine_amp", strength);
  t.streaks = amplitude(record, "streaks_amp", strength);
  t.streaks_sigma_px = 0.035 * long_px;
  t.silk = amplitude(record, "silk_amp", strength);
  const double px_per_um = long_px / held(get_number(record, "card_um", 73000.0), 1.0, 1e9);
  t.silk_period_px =
      held(get_number(record, "silk_scale_um", 90.0) * px_per_um, 0.0, kLongestPeriodPx);
  if (t.silk_period_px <= 1.0) t.silk = 0.0;
  t.silk_lattice = lattice_share(record);
  return t;
}

Image add_instant_texture(Image density, const InstantTexture& t, Rng& rng) {
  if (t.mottle > 0.0) add_mottle(density, t, rng);
  if (t.fine > 0.0) add_fine(density, t.fine, rng);
  if (t.streaks > 0.0) add_streaks(density, t.streaks, t.streaks_sigma_px, rng);
  if (t.silk > 0.0) add_silk(density, t, rng);
  return density;
}

}  // namespace morva
