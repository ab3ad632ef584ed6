// Compiled once for each instruction set. Planes pass through blocks on the stack: they stay in the
// first cache, and the vectoriser need not ask whether arrays overlap. Each step is a loop of its
// own over a block, so that the divisions of many pixels are under way at once.

#include "repro/vector/separation_loops.h"

namespace morva::vector::MORVA_ISA {

namespace {

constexpr std::size_t kBlock = 128;

// NaN is the lower end.
inline float at_least(float v, float low) {
  return v > low ? v : low;
}

// What coverages and light are held to. The ends are read at run time: from constants g++ 12 makes
// masks, up to five instructions where a minimum or a maximum is one.
struct Bounds {
  float none;
  float solid;
  float darkest;
  float least_filtered;

  float coverage(float v) const {
    const float raised = at_least(v, none);
    return raised < solid ? raised : solid;
  }
  float light(float v) const {
    const float raised = at_least(v, darkest);
    return raised < solid ? raised : solid;
  }
  // Light that others leave to an ink, to be divided by.
  float filtered(float v) const { return at_least(v, least_filtered); }
  float root(float v) const { return __builtin_sqrtf(at_least(v, none)); }
};

inline Bounds bounds() {
  static const volatile Bounds ends = {0.0f, 1.0f, 0.0001f, 1e-6f};
  return {ends.none, ends.solid, ends.darkest, ends.least_filtered};
}

// --- The press and its inverse. ---

inline float bent(float v, float bend, const Bounds& within) {
  return within.coverage(v + bend * v * (1.0f - v));
}

void press(float* values, std::size_t n, const PressCurve& curve) {
  const Bounds within = bounds();
  const float taken_off = -curve.taken_off, growth = curve.growth;
  for (std::size_t i = 0; i < n; ++i)
    values[i] = bent(bent(values[i], taken_off, within), growth, within);
}

// The lesser root of bent(v) = landed where 1 + bend is positive, in the form in which nothing
// cancels: the schoolbook's (b - root) / (2 bend) loses all its digits to a slight bend.
inline float unbent(float landed, float bend, const Bounds& within) {
  const float b = bend + 1.0f;
  return within.coverage(2.0f * landed / (b + within.root(b * b - 4.0f * bend * landed)));
}

// The one on the rising side of a parabola that first falls below 0.
inline float unbent_rising(float landed, float bend, const Bounds& within) {
  const float b = bend + 1.0f;
  return within.coverage((b - within.root(b * b - 4.0f * bend * landed)) / (2.0f * bend));
}

void plate_values(float* values, std::size_t n, const PressCurve& curve) {
  constexpr float least_taken_off = 4e-6f;
  const Bounds within = bounds();
  const float taken_off = -curve.taken_off, growth = curve.growth;
  for (std::size_t i = 0; i < n; ++i) values[i] = within.coverage(values[i]);
  if (!(growth > 0.0f)) return;
  if (!(curve.taken_off > least_taken_off)) {
    for (std::size_t i = 0; i < n; ++i) values[i] = unbent(values[i], growth, within);
  } else if (curve.taken_off < 1.0f) {
    for (std::size_t i = 0; i < n; ++i)
      values[i] = unbent(unbent(values[i], growth, within), taken_off, within);
  } else {
    for (std::size_t i = 0; i < n; ++i)
      values[i] = unbent_rising(unbent(values[i], growth, within), taken_off, within);
  }
}

// --- Separation. ---

struct Colours {
  float r[kBlock], g[kBlock], b[kBlock];
};

struct Inks {
  float c[kBlock], m[kBlock], y[kBlock], k[kBlock];
};

// What a block lacks is white.
void read_colours(const float* rgb, std::size_t n, const Bounds& within, Colours& colour) {
  for (std::size_t i = 0; i < n; ++i) {
    colour.r[i] = rgb[3 * i];
    colour.g[i] = rgb[3 * i + 1];
    colour.b[i] = rgb[3 * i + 2];
  }
  for (std::size_t i = n; i < kBlock; ++i) colour.r[i] = colour.g[i] = colour.b[i] = 1.0f;
  for (std::size_t i = 0; i < kBlock; ++i) {
    colour.r[i] = within.light(colour.r[i]);
    colour.g[i] = within.light(colour.g[i]);
    colour.b[i] = within.light(colour.b[i]);
  }
}

// The coverages of an ink that alone bring a channel down to its target.
inline void cover_alone(const float* target, float depth, const Bounds& within, float* ink) {
  for (std::size_t i = 0; i < kBlock; ++i) ink[i] = within.coverage((1.0f - target[i]) / depth);
}

// Those that do it under what two other inks let through.
inline void cover(const float* target, const float* one, float depth_of_one, const float* other,
                  float depth_of_other, float depth, const Bounds& within, float* ink) {
  for (std::size_t i = 0; i < kBlock; ++i) {
    const float through = (1.0f - depth_of_one * one[i]) * (1.0f - depth_of_other * other[i]);
    const float t = target[i] / within.filtered(through);
    ink[i] = within.coverage((1.0f - t) / depth);
  }
}

// Gauss and Seidel: each ink is set by the channel that it takes most from.
void solve(const Colours& target, const SeparationOrder& order, const Bounds& within, Inks& ink) {
  const InkDepth &c = order.depth[0], &m = order.depth[1], &y = order.depth[2];
  for (int round = 0; round < order.iterations; ++round) {
    cover(target.r, ink.m, m.of[0], ink.y, y.of[0], c.of[0], within, ink.c);
    cover(target.g, ink.c, c.of[1], ink.y, y.of[1], m.of[1], within, ink.m);
    cover(target.b, ink.m, m.of[2], ink.c, c.of[2], y.of[2], within, ink.y);
  }
}

void replace_grey(float gcr, const Bounds& within, Inks& ink) {
  for (std::size_t i = 0; i < kBlock; ++i) {
    const float cm = ink.c[i] < ink.m[i] ? ink.c[i] : ink.m[i];
    ink.k[i] = within.coverage((cm < ink.y[i] ? cm : ink.y[i]) * gcr);
  }
}

// The light that the other inks have to give once black lies on the sheet.
inline void relieve(const float* black, float depth, const Bounds& within, float* channel) {
  for (std::size_t i = 0; i < kBlock; ++i)
    channel[i] = within.light(channel[i] / within.filtered(1.0f - depth * black[i]));
}

void limit_total(float tac, const Bounds& within, Inks& ink) {
  for (std::size_t i = 0; i < kBlock; ++i) {
    const float room = at_least(tac - ink.k[i], within.none);
    const float total = (ink.m[i] + ink.c[i]) + ink.y[i];
    const float fitting = room / within.filtered(total);
    const float scale = total > room ? fitting : 1.0f;
    ink.c[i] *= scale;
    ink.m[i] *= scale;
    ink.y[i] *= scale;
  }
}

void separate_block(const SeparationOrder& order, const Bounds& within, Colours& colour,
                    Inks& ink) {
  const InkDepth* depth = order.depth;
  cover_alone(colour.r, depth[0].of[0], within, ink.c);
  cover_alone(colour.g, depth[1].of[1], within, ink.m);
  cover_alone(colour.b, depth[2].of[2], within, ink.y);
  solve(colour, order, within, ink);
  replace_grey(order.gcr, within, ink);
  relieve(ink.k, depth[3].of[0], within, colour.r);
  relieve(ink.k, depth[3].of[1], within, colour.g);
  relieve(ink.k, depth[3].of[2], within, colour.b);
  solve(colour, order, within, ink);
  float* const each[] = {ink.c, ink.m, ink.y, ink.k};
  for (float* plane : each) plate_values(plane, kBlock, order.press);
  if (order.tac > 0.0f) limit_total(order.tac, within, ink);
}

void separate(const float* rgb, std::size_t n, const SeparationOrder& order, float* const* planes) {
  const Bounds within = bounds();
  Colours colour;
  Inks ink;
  const float* const from[] = {ink.c, ink.m, ink.y, ink.k};
  for (std::size_t done = 0; done < n; done += kBlock) {
    const std::size_t count = n - done < kBlock ? n - done : kBlock;
    read_colours(rgb + 3 * done, count, within, colour);
    separate_block(order, within, colour, ink);
    for (int x = 0; x < 4; ++x) __builtin_memcpy(planes[x] + done, from[x], count * sizeof(float));
  }
}

// --- Ink on the sheet. ---

inline void filter(const float* coverage, std::size_t n, float depth, float* light) {
  for (std::size_t i = 0; i < n; ++i) light[i] *= 1.0f - depth * coverage[i];
}

void overprint(const float* const* planes, const InkDepth* depth, int count, const float* base,
               std::size_t n, float* rgb) {
  Colours light;
  for (std::size_t done = 0; done < n; done += kBlock) {
    const std::size_t block = n - done < kBlock ? n - done : kBlock;
    for (std::size_t i = 0; i < block; ++i) {
      light.r[i] = base[0];
      light.g[i] = base[1];
      light.b[i] = base[2];
    }
    for (int x = 0; x < count; ++x) {
      filter(planes[x] + done, block, depth[x].of[0], light.r);
      filter(planes[x] + done, block, depth[x].of[1], light.g);
      filter(planes[x] + done, block, depth[x].of[2], light.b);
    }
    float* out = rgb + 3 * done;
    for (std::size_t i = 0; i < block; ++i) {
      out[3 * i] = light.r[i];
      out[3 * i + 1] = light.g[i];
      out[3 * i + 2] = light.b[i];
    }
  }
}

void mottle(float* rgb, std::size_t n, const float* field, float amount, float bare) {
  const Bounds within = bounds();
  float gain[kBlock];
  for (std::size_t done = 0; done < n; done += kBlock, rgb += 3 * kBlock) {
    const std::size_t block = n - done < kBlock ? n - done : kBlock;
    for (std::size_t i = 0; i < block; ++i)
      gain[i] = (rgb[3 * i] + rgb[3 * i + 1] + rgb[3 * i + 2]) / 3.0f;
    for (std::size_t i = 0; i < block; ++i)
      gain[i] =
          1.0f + within.root(within.coverage(1.0f - gain[i] / bare)) * amount * field[done + i];
    for (std::size_t i = 0; i < block; ++i)
      for (std::size_t k = 0; k < 3; ++k) rgb[3 * i + k] *= gain[i];
  }
}

constexpr SeparationLoops kLoops = {separate, press, plate_values, overprint, mottle};

}  // namespace

const SeparationLoops& separation_loops() {
  return kLoops;
}

}  // namespace morva::vector::MORVA_ISA
