#include "finish/linen.h"

#include <algorithm>
#include <cmath>

#include "image/elementary.h"
#include "image/error_function.h"
#include "image/filters.h"

namespace morva {

namespace {

constexpr double kPi = 3.14159265358979323846;

constexpr double kPitchMm = 0.4;            // of the threads
constexpr double kPitchSpread = 0.16;       // deviation of a thread's width
constexpr float kRelief = 0.2f;             // of the threads' roundness
constexpr float kToneStrength = 0.1f;       // deviation of the yarn's tone
constexpr double kLightPhase = 0.5;         // radians: the crown's light lies to the upper left
constexpr double kNeighbourLikeness = 0.3;  // of the tones of threads side by side
constexpr double kEvenYarnMm = 22.0;        // over which a tone wanders along its thread

constexpr double kAperturePx = 0.6;        // sigma of the pixel's aperture
constexpr double kFinestThreadPx = 0.125;  // finer threads are not drawn
constexpr double kDrawnPerThread = 6.0;

constexpr double kSlubSpacingMm = 20.0;
constexpr float kSlubDepth = 0.22f;
constexpr float kSlubHidden = 0.35f;  // share of it that the crossing threads hide

constexpr double kGrainMm = 0.08;
constexpr float kGrainStrength = 0.02f;

struct Thread {
  double start_px;
  double width_px;
};

// Threads side by side until they cover the length; the first begins before it.
std::vector<Thread> spin_threads(double length_px, double pitch_px, Rng& rng) {
  std::vector<Thread> threads;
  double start = -pitch_px * rng.uniform(0.0, 1.0);
  while (start < length_px) {
    const double width = std::clamp(1.0 + kPitchSpread * rng.normal(), 0.55, 1.6) * pitch_px;
    threads.push_back({start, width});
    start += width;
  }
  return threads;
}

// The mean of each pixel of a line that is drawn `per_px` samples to the pixel.
std::vector<float> seen_by_pixels(const std::vector<float>& drawn, std::size_t per_px) {
  const std::vector<float> blurred =
      gaussian_filter_line(drawn, kAperturePx * static_cast<double>(per_px), kBoundaryReflect);
  std::vector<float> seen(drawn.size() / per_px);
  for (std::size_t i = 0; i < seen.size(); ++i) {
    const float* centre = &blurred[i * per_px + per_px / 2];
    seen[i] = 0.5f * (centre[-1] + centre[0]);
  }
  return seen;
}

// Samples of a line, `per_px` to the pixel, each from its thread and its place across it, 0..1.
template <class Value>
std::vector<float> drawn_across(const std::vector<Thread>& threads, std::size_t n,
                                std::size_t per_px, Value&& value) {
  std::vector<float> line(n * per_px);
  std::size_t thread = 0;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const double at = (static_cast<double>(i) + 0.5) / static_cast<double>(per_px);
    while (thread + 1 < threads.size() && at >= threads[thread + 1].start_px) ++thread;
    const double across = (at - threads[thread].start_px) / threads[thread].width_px;
    line[i] = static_cast<float>(value(thread, across));
  }
  return seen_by_pixels(line, per_px);
}

std::size_t nodes_along(std::size_t length, double node_px) {
  return static_cast<std::size_t>(static_cast<double>(length) / node_px) + 2;
}

double node_spacing_px(double px_per_mm) {
  return std::max(16.0, kEvenYarnMm * px_per_mm);
}

// How much of each thread a pixel sees: shares begin[x] .. begin[x + 1] - 1 are those of threads
// first[x] onwards.
struct SeenThreads {
  std::vector<std::size_t> first;
  std::vector<std::size_t> begin;
  std::vector<float> share;
};

SeenThreads see_threads(const std::vector<Thread>& threads, std::size_t n) {
  constexpr double reach_px = 4.0 * kAperturePx;
  SeenThreads seen;
  std::size_t first = 0;
  for (std::size_t x = 0; x < n; ++x) {
    const double centre = static_cast<double>(x) + 0.5;
    const auto end_of = [&](std::size_t i) { return threads[i].start_px + threads[i].width_px; };
    while (first + 1 < threads.size() && end_of(first) <= centre - reach_px) ++first;
    seen.first.push_back(first);
    seen.begin.push_back(seen.share.size());
    double before = -1.0;
    for (std::size_t i = first; before < 1.0; ++i) {
      const bool last = i + 1 == threads.size() || end_of(i) >= centre + reach_px;
      const double upto =
          last ? 1.0 : elementary::erf((end_of(i) - centre) / (kAperturePx * std::sqrt(2.0)));
      seen.share.push_back(static_cast<float>(0.5 * (upto - before)));
      before = upto;
    }
  }
  seen.begin.push_back(seen.share.size());
  return seen;
}

// The tones of all threads where they pass one node.
std::vector<float> tones_at_node(std::size_t threads, const SeenThreads& seen, Rng& rng) {
  const double fresh = std::sqrt(1.0 - kNeighbourLikeness * kNeighbourLikeness);
  std::vector<float> tones(threads);
  double tone = rng.normal();
  for (float& value : tones) {
    tone = kNeighbourLikeness * tone + fresh * rng.normal();
    value = static_cast<float>(tone);
  }
  std::vector<float> line(seen.first.size(), 0.0f);
  for (std::size_t x = 0; x < line.size(); ++x) {
    const float* of_thread = &tones[seen.first[x]];
    for (std::size_t i = seen.begin[x]; i < seen.begin[x + 1]; ++i)
      line[x] += seen.share[i] * of_thread[i - seen.begin[x]];
  }
  return line;
}

// `length` pixels of threads side by side, each `run` pixels long; those too fine to be drawn are
// even, without tones.
ThreadLine lay_threads(std::int32_t length, std::int32_t run, double px_per_mm, Rng rng) {
  const std::size_t n = static_cast<std::size_t>(length);
  const std::vector<float> even(n, 0.0f);
  ThreadLine line = {even, even, even, {}};
  const double pitch_px = kPitchMm * px_per_mm;
  if (!(pitch_px >= kFinestThreadPx)) return line;
  const std::size_t per_px =
      2 * static_cast<std::size_t>(std::ceil(std::max(2.0, kDrawnPerThread / pitch_px)));
  const std::vector<Thread> threads = spin_threads(length, pitch_px, rng);
  const auto round = [](double across) {
    return elementary::cos(2.0 * kPi * (across - 0.5) + kLightPhase);
  };
  const auto bridge = [](std::size_t thread, double across) {
    return (thread % 2 == 0 ? 1.0 : -1.0) * elementary::sin(kPi * across);
  };
  line.crown =
      drawn_across(threads, n, per_px, [&](std::size_t, double across) { return round(across); });
  line.over = drawn_across(threads, n, per_px, bridge);
  line.over_crown = drawn_across(threads, n, per_px, [&](std::size_t thread, double across) {
    return bridge(thread, across) * round(across);
  });
  const SeenThreads seen = see_threads(threads, n);
  const std::size_t nodes = nodes_along(static_cast<std::size_t>(run), node_spacing_px(px_per_mm));
  for (std::size_t i = 0; i < nodes; ++i)
    line.tones.push_back(tones_at_node(threads.size(), seen, rng));
  return line;
}

// From one node to the next the tones of a thread pass into each other at the same deviation.
ThreadLength run_threads(std::int32_t run, double px_per_mm) {
  ThreadLength length;
  length.node_px = node_spacing_px(px_per_mm);
  for (std::int32_t i = 0; i < run; ++i) {
    const double place = i / length.node_px;
    const double angle = 0.5 * kPi * (place - std::floor(place));
    length.from_node.push_back(static_cast<float>(elementary::cos(angle)));
    length.to_node.push_back(static_cast<float>(elementary::sin(angle)));
  }
  return length;
}

// Slubs of the threads along one axis: a Poisson process, one to two centimetres of its length.
void spin_slubs(bool along_x, double length_px, double across_px, double px_per_mm, Rng rng,
                std::vector<Slub>& slubs) {
  constexpr std::size_t most = 4096;
  const double spacing_px = kSlubSpacingMm * px_per_mm;
  const std::size_t before = slubs.size();
  double at = 0.0;
  while (slubs.size() - before < most) {
    at -= spacing_px * elementary::log(1.0 - rng.uniform());
    if (!(at < length_px)) return;
    const double across = rng.uniform(0.0, across_px);
    Slub slub;
    slub.along_x = along_x;
    slub.x_px = along_x ? at : across;
    slub.y_px = along_x ? across : at;
    slub.length_px = rng.uniform(2.0, 7.0) * px_per_mm;
    slub.strength = static_cast<float>(rng.uniform(0.3, 0.9)) * kSlubDepth;
    // One that the pixel cannot show is as faint as it is thin.
    const double width_px = 0.55 * kPitchMm * px_per_mm;
    slub.width_px = std::max(width_px, kAperturePx);
    slub.strength *= static_cast<float>(width_px / slub.width_px);
    slubs.push_back(slub);
  }
}

float bell(double from_centre, double sigma) {
  const double t = from_centre / sigma;
  return static_cast<float>(elementary::exp(-0.5 * t * t));
}

// A slub shows where its thread lies on top of those that cross it.
void add_slub(const Linen& linen, const Slub& slub, const SurfacePart& part, float* shade) {
  constexpr double reach = 3.5;  // sigmas
  const double sigma_x = slub.along_x ? slub.length_px : slub.width_px;
  const double sigma_y = slub.along_x ? slub.width_px : slub.length_px;
  const auto first = [&](double at, double sigma, std::int32_t from, std::int32_t to) {
    return static_cast<std::int32_t>(std::clamp<double>(std::ceil(at - reach * sigma), from, to));
  };
  const auto end = [&](double at, double sigma, std::int32_t from, std::int32_t to) {
    return static_cast<std::int32_t>(
        std::clamp<double>(std::floor(at + reach * sigma) + 1.0, from, to));
  };
  const std::int32_t x0 = first(slub.x_px, sigma_x, part.x0, part.x1);
  const std::int32_t x1 = end(slub.x_px, sigma_x, part.x0, part.x1);
  const std::int32_t y0 = first(slub.y_px, sigma_y, part.y0, part.y1);
  const std::int32_t y1 = end(slub.y_px, sigma_y, part.y0, part.y1);
  if (x0 >= x1 || y0 >= y1) return;
  std::vector<float> across(static_cast<std::size_t>(x1 - x0));
  for (std::int32_t x = x0; x < x1; ++x)
    across[static_cast<std::size_t>(x - x0)] = bell(x + 0.5 - slub.x_px, sigma_x);
  const float hidden = slub.along_x ? -kSlubHidden : kSlubHidden;
  for (std::int32_t y = y0; y < y1; ++y) {
    const float strength = slub.strength * bell(y + 0.5 - slub.y_px, sigma_y);
    const float up = hidden * linen.weft.over[static_cast<std::size_t>(y)];
    float* row = shade + static_cast<std::size_t>(y - part.y0) * part.columns() + (x0 - part.x0);
    const float* over = &linen.warp.over[static_cast<std::size_t>(x0)];
    for (std::size_t i = 0; i < across.size(); ++i)
      row[i] += strength * across[i] * ((1.0f - kSlubHidden) + up * over[i]);
  }
}

// Tones along one weft thread's row, in columns x0 .. x1 - 1.
void weft_tones(const Linen& linen, std::size_t y, std::size_t x0, std::size_t x1, float* out) {
  const ThreadLength& across = linen.across;
  for (std::size_t x = x0; x < x1;) {
    const std::size_t node = static_cast<std::size_t>(static_cast<double>(x) / across.node_px);
    const double next = std::ceil(static_cast<double>(node + 1) * across.node_px);
    const std::size_t end = std::min(x1, std::max(x + 1, static_cast<std::size_t>(next)));
    const float before = linen.weft.tones[node][y];
    const float after = linen.weft.tones[node + 1][y];
    for (; x < end; ++x) out[x - x0] = across.from_node[x] * before + across.to_node[x] * after;
  }
}

// The warp is up where both `over` agree, the weft where they differ; each is seen by its own
// roundness and tone, half of either where the threads cross.
void shade_row(const Linen& linen, std::size_t y, const SurfacePart& part, float* shade) {
  const ThreadLine& warp = linen.warp;
  const ThreadLine& weft = linen.weft;
  const std::size_t x0 = static_cast<std::size_t>(part.x0);
  weft_tones(linen, y, x0, x0 + part.columns(), shade);
  const std::size_t node = static_cast<std::size_t>(static_cast<double>(y) / linen.down.node_px);
  const float* before = &warp.tones[node][x0];
  const float* after = &warp.tones[node + 1][x0];
  const float from_node = linen.down.from_node[y];
  const float to_node = linen.down.to_node[y];
  const float* crown = &warp.crown[x0];
  const float* over = &warp.over[x0];
  const float* over_crown = &warp.over_crown[x0];
  constexpr float half_relief = 0.5f * kRelief;
  constexpr float half_tone = 0.5f * kToneStrength;
  const float row_crown = half_relief * weft.crown[y];
  const float row_over = weft.over[y];
  const float row_over_crown = half_relief * weft.over_crown[y];
  for (std::size_t i = 0; i < part.columns(); ++i) {
    const float warp_up = over[i] * row_over;
    const float weave = (half_relief * crown[i] + row_crown) +
                        (half_relief * over_crown[i] * row_over - over[i] * row_over_crown);
    const float warp_tone = from_node * before[i] + to_node * after[i];
    const float weft_tone = shade[i];
    const float yarn = (warp_tone + weft_tone) + warp_up * (warp_tone - weft_tone);
    shade[i] = (1.0f + weave) + half_tone * yarn;
  }
}

}  // namespace

Linen weave_linen(std::int32_t h, std::int32_t w, double px_per_mm, Rng& rng) {
  const auto own_stream = [&] { return rng_from_key({static_cast<std::int64_t>(rng.next())}); };
  Linen linen;
  linen.warp = lay_threads(w, h, px_per_mm, own_stream());
  linen.weft = lay_threads(h, w, px_per_mm, own_stream());
  linen.down = run_threads(h, px_per_mm);
  linen.across = run_threads(w, px_per_mm);
  if (px_per_mm > 0.0) {
    spin_slubs(true, w, h, px_per_mm, own_stream(), linen.slubs);
    spin_slubs(false, h, w, px_per_mm, own_stream(), linen.slubs);
  }
  linen.grain = {
      {static_cast<std::int64_t>(rng.next())}, w, std::clamp(kGrainMm * px_per_mm, 0.4, 16.0)};
  return linen;
}

void shade_linen(const Linen& linen, const SurfacePart& part, float* shade) {
  const bool has_tones = !linen.warp.tones.empty() && !linen.weft.tones.empty();
  for (std::int32_t y = part.y0; y < part.y1; ++y) {
    float* row = shade + static_cast<std::size_t>(y - part.y0) * part.columns();
    if (has_tones)
      shade_row(linen, static_cast<std::size_t>(y), part, row);
    else
      std::fill_n(row, part.columns(), 1.0f);
  }
  for (const Slub& slub : linen.slubs) add_slub(linen, slub, part, shade);
  add_fine_grain(linen.grain, part, kGrainStrength, shade);
}

}  // namespace morva
