#include "film/plate_edge.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "film/plate_corner.h"
#include "image/edge_noise.h"
#include "image/held.h"

namespace morva {

namespace {

constexpr double kBeadReach = 3.0;    // widths of the bead until nothing is left of it
constexpr double kWidestBead = 2.0;   // of a frilled bead, against an even one
constexpr double kFrillWave = 3.0;    // length of a scallop, in widths of the bead
constexpr double kDeepest = 0.25;     // of the plate's short side
constexpr double kWidestHold = 0.12;  // and of the thumb's corner: a small plate is held by less
constexpr int kKnotsPerWave = 16;     // of a line of noise
constexpr double kKnotSigma = 1.8;    // wave = 2 pi sqrt(2) sigma
constexpr double kMostKnots = 4096;

// A line of noise along a side, by the millimetre.
struct EdgeLine {
  std::vector<float> knots;
  double knots_per_mm = 1.0;

  float at(double mm) const {
    const double x = std::clamp(mm * knots_per_mm, 0.0, static_cast<double>(knots.size() - 1));
    const std::size_t i = std::min(static_cast<std::size_t>(x), knots.size() - 2);
    const auto t = static_cast<float>(x - static_cast<double>(i));
    return knots[i] + (knots[i + 1] - knots[i]) * t;
  }
};

// One draw of `rng`, whatever the length.
EdgeLine edge_line(double length_mm, double wave_mm, Rng& rng) {
  const double pitch_mm = std::max(wave_mm / kKnotsPerWave, length_mm / kMostKnots);
  Rng own = rng_from_key({static_cast<std::int64_t>(rng.next())});
  const auto n = static_cast<std::size_t>(std::ceil(length_mm / pitch_mm)) + 2;
  return {noise_line(own, n, kKnotSigma), 1.0 / pitch_mm};
}

// One side of the plate, sampled at each pixel along it: how far in the film begins, and how wide
// its bead is there against an even one.
struct Side {
  std::vector<float> depth_mm, bead;
};

Side drawn_side(int pixels, double px_mm, double short_mm, const PlateEdge& edge, double pour,
                Rng& rng) {
  // The liquid reaches some sides and falls short of others.
  const double short_of_side = rng.uniform(-0.5, 0.9);
  const double length_mm = pixels * px_mm;
  const EdgeLine swing = edge_line(length_mm, 4.0 * edge.wave_mm, rng);
  const EdgeLine wave = edge_line(length_mm, edge.wave_mm, rng);
  const EdgeLine frill = edge_line(length_mm, kFrillWave * edge.frill_mm, rng);
  const double unit_mm = std::min(pour * edge.rough * edge.frill_mm, kDeepest * short_mm);
  const double deepest_mm = kDeepest * short_mm;
  Side side;
  side.depth_mm.resize(static_cast<std::size_t>(pixels));
  side.bead.resize(side.depth_mm.size());
  for (int i = 0; i < pixels; ++i) {
    const double mm = (i + 0.5) * px_mm;
    const double fringe = static_cast<double>(frill.at(mm));
    const double depth = short_of_side + 0.5 * static_cast<double>(swing.at(mm)) +
                         0.3 * static_cast<double>(wave.at(mm)) + 0.07 * edge.frill * fringe;
    side.depth_mm[i] = static_cast<float>(std::clamp(unit_mm * depth, -deepest_mm, deepest_mm));
    side.bead[i] = static_cast<float>(std::clamp(1.0 + edge.frill * fringe, 0.3, kWidestBead));
  }
  return side;
}

// How far inside the film a place lies, and how wide the bead is there.
struct Inset {
  float mm, bead;
};

// The nearer of two edges, their corner rounded over `round_mm`.
Inset nearer(const Inset& a, const Inset& b, float round_mm) {
  Inset out = a.mm < b.mm ? a : b;
  const float overlap = std::max(round_mm - std::fabs(a.mm - b.mm), 0.0f);
  out.mm -= overlap * overlap / (4.0f * round_mm);
  return out;
}

struct EdgeParams {
  float px_mm, width_mm, height_mm;
  float bead_mm;   // reach of the bead
  float round_mm;  // radius of the film's corners
  float soft_mm;   // over which the film thins out to nothing
  float gain;
  float hold_mm;  // 0 for none
  PlateCorner hold;
};

// The thumb's corner: a cut across it, bulged by the ball of the thumb, with a line that wanders.
Inset held_corner(const EdgeParams& p, const EdgeLine& line, float x_mm, float y_mm) {
  const float x = p.hold.right ? p.width_mm - x_mm : x_mm;
  const float y = p.hold.below ? p.height_mm - y_mm : y_mm;
  const float aside = (x - y) / p.hold_mm;
  const float wander = line.at(static_cast<double>(x - y + 2.0f * p.hold_mm));
  const float ball = std::max(1.0f - aside * aside, 0.0f);
  const float bare = 1.0f + 0.06f * wander + 0.3f * ball * ball;
  return {(x + y - p.hold_mm * bare) * 0.7071068f, 1.0f};
}

struct Outline {
  Side top, right, bottom, left;
  EdgeLine thumb;
};

Inset inset_at(const Outline& o, const EdgeParams& p, int y, int x) {
  const float x_mm = (static_cast<float>(x) + 0.5f) * p.px_mm;
  const float y_mm = (static_cast<float>(y) + 0.5f) * p.px_mm;
  Inset inset = {y_mm - o.top.depth_mm[x], o.top.bead[x]};
  inset = nearer(inset, {p.height_mm - y_mm - o.bottom.depth_mm[x], o.bottom.bead[x]}, p.round_mm);
  inset = nearer(inset, {x_mm - o.left.depth_mm[y], o.left.bead[y]}, p.round_mm);
  inset = nearer(inset, {p.width_mm - x_mm - o.right.depth_mm[y], o.right.bead[y]}, p.round_mm);
  if (p.hold_mm > 0.0f) inset = nearer(inset, held_corner(p, o.thumb, x_mm, y_mm), p.round_mm);
  return inset;
}

void mark_span(PlateField& field, const Outline& outline, const EdgeParams& p, int y, int x0,
               int x1) {
  float* gain = &field.gain.at(y, 0);
  float* edge = &field.edge.at(y, 0);
  for (int x = x0; x < x1; ++x) {
    const Inset inset = inset_at(outline, p, y, x);
    const float reach_mm = p.bead_mm * inset.bead;
    const float left = std::max(1.0f - std::max(inset.mm, 0.0f) / reach_mm, 0.0f);
    gain[x] = 1.0f + p.gain * (left * left * left);
    const float t = std::clamp(inset.mm / p.soft_mm, 0.0f, 1.0f);
    edge[x] = t * t * (3.0f - 2.0f * t);
  }
}

EdgeParams edge_params(int w, int h, double px_mm, const PlateEdge& edge, double pour) {
  const double short_mm = std::min(w, h) * px_mm;
  EdgeParams p = {};
  p.px_mm = static_cast<float>(px_mm);
  p.width_mm = static_cast<float>(w * px_mm);
  p.height_mm = static_cast<float>(h * px_mm);
  p.bead_mm = static_cast<float>(kBeadReach * edge.frill_mm);
  p.round_mm = static_cast<float>(edge.frill_mm);
  p.soft_mm = static_cast<float>(std::max(0.25 * edge.frill_mm, 1.5 * px_mm));
  p.gain = static_cast<float>(edge.gain * pour);
  p.hold_mm =
      static_cast<float>(std::min(edge.hold_mm * std::min(pour, 1.0), kWidestHold * short_mm));
  return p;
}

float deepest(const Outline& o) {
  float mm = 0.0f;
  for (const Side* side : {&o.top, &o.right, &o.bottom, &o.left})
    for (const float depth : side->depth_mm) mm = std::max(mm, depth);
  return mm;
}

// Beyond these the plate is even, and its fields stay 1.
struct Margins {
  int side_px, hold_px;
};

Margins margins(const EdgeParams& p, const Outline& outline, int longest_px) {
  const auto pixels = [&](float mm) {
    return static_cast<int>(std::ceil(std::min(mm / p.px_mm, static_cast<float>(longest_px))));
  };
  const float reach_mm = p.bead_mm * static_cast<float>(kWidestBead) + p.round_mm;
  return {pixels(deepest(outline) + reach_mm), pixels(2.0f * p.hold_mm + 1.5f * reach_mm)};
}

void mark_row(PlateField& field, const Outline& outline, const EdgeParams& p, const Margins& m,
              int y) {
  const int w = field.gain.w;
  const int h = field.gain.h;
  const bool by_hand = p.hold_mm > 0.0f && (p.hold.below ? y >= h - m.hold_px : y < m.hold_px);
  const int left = by_hand && !p.hold.right ? std::max(m.side_px, m.hold_px) : m.side_px;
  const int right = by_hand && p.hold.right ? std::max(m.side_px, m.hold_px) : m.side_px;
  if (y < m.side_px || y >= h - m.side_px || left + right >= w) {
    mark_span(field, outline, p, y, 0, w);
    return;
  }
  mark_span(field, outline, p, y, 0, left);
  mark_span(field, outline, p, y, w - right, w);
}

}  // namespace

PlateEdge plate_edge(const Json& record) {
  constexpr double shortest_mm = 0.01;
  constexpr double longest_mm = 1000.0;
  PlateEdge edge;
  edge.gain = held(get_number(record, "edge_gain", 0.12), 0.0, 100.0);
  edge.frill_mm = held(get_number(record, "frill_mm", 1.2), shortest_mm, longest_mm);
  edge.frill = held(get_number(record, "frill", 0.5), 0.0, 100.0);
  edge.wave_mm = held(get_number(record, "wave_mm", 6.0), shortest_mm, longest_mm);
  edge.hold_mm = held(get_number(record, "hold_mm", 5.0), 0.0, longest_mm);
  edge.rough = held(get_number(record, "edge_rough", 0.6), 0.0, 100.0);
  return edge;
}

PlateField plate_field(int w, int h, double px_um, const PlateEdge& edge, double pour, Rng& rng) {
  const double px_mm = std::max(px_um, 1e-6) / 1000.0;
  const double short_mm = std::min(w, h) * px_mm;
  EdgeParams p = edge_params(w, h, px_mm, edge, pour);
  p.hold = draw_corner(rng);
  Outline outline;
  outline.top = drawn_side(w, px_mm, short_mm, edge, pour, rng);
  outline.right = drawn_side(h, px_mm, short_mm, edge, pour, rng);
  outline.bottom = drawn_side(w, px_mm, short_mm, edge, pour, rng);
  outline.left = drawn_side(h, px_mm, short_mm, edge, pour, rng);
  outline.thumb = edge_line(4.0 * std::max(edge.hold_mm, 1.0), 1.5 * edge.wave_mm, rng);

  PlateField field = {Image(h, w, 1, 1.0f), Image(h, w, 1, 1.0f)};
  const Margins m = margins(p, outline, std::max(w, h));
  for (int y = 0; y < h; ++y) mark_row(field, outline, p, m, y);
  return field;
}

}  // namespace morva
