#include "finish/gate_mask.h"

#include <algorithm>
#include <cmath>

#include "image/edge_noise.h"
#include "image/elementary.h"
#include "image/filters.h"

namespace morva {

namespace {

constexpr double kOuterLimit = 0.95;  // of the margin
constexpr double kRoughest = 1e6;     // beyond it every edge lies at its limits anyway
constexpr double kSlowSigma = 0.2;    // of the side's length
constexpr double kLeastSlowSigma = 0.8;
constexpr double kFineSigma = 1.5;
constexpr double kBowReach = 0.08;  // of the side's length
constexpr double kBiteDepth = 0.14;
constexpr double kHardSigma = 0.9;
constexpr double kSmoothSigma = 1.7;
constexpr double kSmoothRough = 0.3;

// How an edge is drawn; lengths are fractions of its margin.
struct EdgeHand {
  double position_jitter = 0.1;
  double wander = 0.045;
  double fine_wander = 0.018;
  double bow = 0.1;
  double bite_rate = 1.0;
  double inner_limit = 0.22;
};

EdgeHand edge_hand(const RebatePreset* preset) {
  if (preset == nullptr) return {};
  return {.position_jitter = preset->position_jitter,
          .wander = preset->wander,
          .fine_wander = preset->fine_wander,
          .bow = preset->bow,
          .bite_rate = preset->bite_rate,
          .inner_limit = preset->inner_limit};
}

double bounded_rough(double rough) {
  return std::isnan(rough) ? 0.0 : std::clamp(rough, -kRoughest, kRoughest);
}

double gauss(double x) {
  return elementary::exp(-(x * x));
}

void add_noise(std::vector<double>& line, double amount, double sigma, Rng& rng) {
  const std::vector<float> noise = noise_line(rng, line.size(), sigma);
  for (std::size_t k = 0; k < line.size(); ++k) line[k] += amount * static_cast<double>(noise[k]);
}

// Towards its ends the file slips outwards.
void bow_ends(std::vector<double>& line, double amount) {
  const double last = std::max<double>(1.0, static_cast<double>(line.size()) - 1.0);
  for (std::size_t k = 0; k < line.size(); ++k) {
    const double t = static_cast<double>(k) / last;
    line[k] += amount * (gauss(t / kBowReach) + gauss((1.0 - t) / kBowReach));
  }
}

// A slip of the file that bit into the metal.
void bite(std::vector<double>& line, double rough, double margin, Rng& rng) {
  const double n = static_cast<double>(line.size());
  const double centre = rng.uniform(0.1, 0.9) * n;
  const double depth = rng.uniform(0.5, 1.0) * rough * kBiteDepth * margin;
  const double half_width = std::max(3.0, 0.25 * margin);
  for (std::size_t k = 0; k < line.size(); ++k)
    line[k] += depth * gauss((static_cast<double>(k) - centre) / half_width);
}

// How far outside the picture one edge runs, pixels, at each of `n` places.
std::vector<double> filed_line(const EdgeHand& hand, double rough, double margin, std::size_t n,
                               Rng& rng) {
  const double place = kCarrierEdgePlace + hand.position_jitter * rough * rng.uniform(-1.0, 1.0);
  std::vector<double> line(n, place * margin);
  add_noise(line, hand.wander * rough * margin,
            std::max(kLeastSlowSigma, kSlowSigma * static_cast<double>(n)), rng);
  if (hand.fine_wander > 0.0) add_noise(line, hand.fine_wander * rough * margin, kFineSigma, rng);
  if (hand.bow > 0.0) bow_ends(line, rng.uniform(0.3, 1.0) * hand.bow * rough * margin);
  for (const double chance : {rough * 0.5, rough * 0.3})
    if (rng.uniform() < chance * hand.bite_rate) bite(line, rough, margin, rng);
  for (double& edge : line)
    edge = std::clamp(edge, hand.inner_limit * margin, kOuterLimit * margin);
  return line;
}

// A side fades over `ramp_px` from `floor` at the edge to full light.
struct Fade {
  double ramp_px = 1.0;
  double floor = 1.0;
};

Fade fade(const RebatePreset& preset, double softness, double mean_margin) {
  const double widest = std::max(1.0, mean_margin * preset.soft_width);
  return {.ramp_px = std::max(1.0, (0.65 * softness + 0.35) * widest),
          .floor = 1.0 - softness * (1.0 - preset.edge_floor)};
}

// The file's slope at a side: about a third of them are nearly hard, the others soft.
double drawn_softness(const RebatePreset& preset, double rough, Rng& rng) {
  constexpr double hard_share = 0.32;
  const double u = rng.uniform();
  double softness;
  if (u < hard_share)
    softness = (u / hard_share) * (u / hard_share) * 0.3;
  else
    softness = (u - hard_share) / (1.0 - hard_share) * 0.75 + 0.6;
  return std::clamp((softness - 1.0) * preset.soft_spread * rough + 1.0, 0.0, 1.6);
}

// What the mask is made of, beside its edges.
struct CarrierEdge {
  std::array<Fade, 4> sides;
  Fade corner;
  double corner_px = 0.0;  // radius; 0 for square corners
  bool is_shaded = false;
};

CarrierEdge carrier_edge(const RebatePlan& plan, const RebatePreset& preset, double rough,
                         Rng& rng) {
  CarrierEdge edge;
  double mean_margin = 0.0;
  for (const int margin : plan.margins) mean_margin += margin / 4.0;
  double mean_softness = 0.0;
  for (Fade& side : edge.sides) {
    const double drawn = drawn_softness(preset, rough, rng);
    const double softness = plan.film_edge_px ? 0.0 : drawn;  // cut film has no slope
    side = fade(preset, softness, mean_margin);
    mean_softness += softness / 4.0;
  }
  edge.corner = fade(preset, mean_softness, mean_margin);
  const double radius = mean_margin * preset.gate_corner;
  if (radius >= 0.5) edge.corner_px = radius;
  edge.is_shaded = preset.edge_floor < 1.0;
  return edge;
}

float faded(const Fade& fade, float inside_px) {
  if (!(fade.floor < 0.999)) return 1.0f;
  const float floor = static_cast<float>(fade.floor);
  const float rise = std::clamp(inside_px / static_cast<float>(fade.ramp_px), 0.0f, 1.0f);
  return (1.0f - floor) * rise + floor;
}

// Round a corner the fade goes over from that of its nearer side to the mean of all four in the
// middle. `dy` and `dx` are measured outwards from the circle's centre.
float corner_fade(const CarrierEdge& edge, const Fade& top_bottom, const Fade& left_right, float dy,
                  float dx, float inside_px) {
  const float middle = std::min(dy, dx) / std::max(dy, dx);
  const float own = faded(dy > dx ? top_bottom : left_right, inside_px);
  return own + middle * (faded(edge.corner, inside_px) - own);
}

// `in`: distances from the four edges, inwards.
float mask_value(const CarrierEdge& edge, const std::array<float, 4>& in) {
  const int top_bottom = in[kTopSide] < in[kBottomSide] ? kTopSide : kBottomSide;
  const int left_right = in[kLeftSide] < in[kRightSide] ? kLeftSide : kRightSide;
  float inside = std::min(in[top_bottom], in[left_right]);
  if (inside <= -0.5f) return 0.0f;
  float shade = 1.0f;
  if (edge.is_shaded)
    for (int side = 0; side < 4; ++side) shade = std::min(shade, faded(edge.sides[side], in[side]));
  const float radius = static_cast<float>(edge.corner_px);
  const float dy = radius - in[top_bottom];
  const float dx = radius - in[left_right];
  if (radius > 0.0f && dy > 0.0f && dx > 0.0f) {
    inside = std::min(inside, radius - std::sqrt(dy * dy + dx * dx));
    if (edge.is_shaded)
      shade = std::min(
          shade, corner_fade(edge, edge.sides[top_bottom], edge.sides[left_right], dy, dx, inside));
  }
  return std::clamp(inside + 0.5f, 0.0f, 1.0f) * shade;
}

// Further inside than this no edge is felt.
float reach_px(const CarrierEdge& edge) {
  double reach = std::max(edge.corner_px, edge.corner.ramp_px);
  for (const Fade& side : edge.sides) reach = std::max(reach, side.ramp_px);
  return static_cast<float>(reach + 1.0);
}

void round_and_fade(Image& mask, const EdgeLines& lines, const CarrierEdge& edge) {
  const float reach = reach_px(edge);
  const float clear_top = *std::max_element(lines[kTopSide].begin(), lines[kTopSide].end()) + reach;
  const float clear_bottom =
      *std::min_element(lines[kBottomSide].begin(), lines[kBottomSide].end()) - reach;
  const auto draw = [&](int y, int x0, int x1) {
    const float row = static_cast<float>(y);
    for (int x = x0; x < x1; ++x) {
      const float column = static_cast<float>(x);
      mask.at(y, x) =
          mask_value(edge, {row - lines[kTopSide][x], lines[kBottomSide][x] - row,
                            column - lines[kLeftSide][y], lines[kRightSide][y] - column});
    }
  };
  for (int y = 0; y < mask.h; ++y) {
    const float row = static_cast<float>(y);
    if (row < clear_top || row > clear_bottom) {
      draw(y, 0, mask.w);
      continue;
    }
    const int left = std::clamp(static_cast<int>(lines[kLeftSide][y] + reach) + 1, 0, mask.w);
    const int right = std::clamp(static_cast<int>(lines[kRightSide][y] - reach), left, mask.w);
    draw(y, 0, left);
    draw(y, right, mask.w);
  }
}

void cut_outside(Image& mask, const EdgeLines& lines) {
  for (int y = 0; y < mask.h; ++y) {
    const float row = static_cast<float>(y);
    for (int x = 0; x < mask.w; ++x) {
      const float column = static_cast<float>(x);
      const bool inside = row >= lines[kTopSide][x] && row <= lines[kBottomSide][x] &&
                          column >= lines[kLeftSide][y] && column <= lines[kRightSide][y];
      mask.at(y, x) = inside ? 1.0f : 0.0f;
    }
  }
}

}  // namespace

EdgeLines carrier_edges(const RebatePlan& plan, const RebatePreset* preset, double rough,
                        Rng& rng) {
  const EdgeHand hand = edge_hand(preset);
  rough = bounded_rough(rough);
  rng.skip(2);  // the negative's seat in its carrier, which the plan has settled
  EdgeLines lines;
  for (int side = 0; side < 4; ++side) {
    const bool is_top_bottom = side == kTopSide || side == kBottomSide;
    const std::size_t n = static_cast<std::size_t>(is_top_bottom ? plan.w : plan.h);
    const double margin = plan.margins[side];
    const std::vector<double> outwards = plan.film_edge_px
                                             ? std::vector<double>(n, (*plan.film_edge_px)[side])
                                             : filed_line(hand, rough, margin, n, rng);
    const bool is_far = side == kBottomSide || side == kRightSide;
    const double frame = is_far ? (is_top_bottom ? plan.h : plan.w) - 1 - margin : margin;
    lines[side].resize(n);
    for (std::size_t k = 0; k < n; ++k)
      lines[side][k] = static_cast<float>(is_far ? frame + outwards[k] : frame - outwards[k]);
  }
  return lines;
}

Image gate_mask(const RebatePlan& plan, const RebatePreset* preset, double rough, Rng& rng) {
  rough = bounded_rough(rough);
  const EdgeLines lines = carrier_edges(plan, preset, rough, rng);
  Image mask(plan.h, plan.w, 1, 1.0f);
  if (preset != nullptr) {
    round_and_fade(mask, lines, carrier_edge(plan, *preset, rough, rng));
    return mask;
  }
  cut_outside(mask, lines);
  return gaussian_filter(mask, rough <= kSmoothRough ? kSmoothSigma : kHardSigma, kBoundaryReflect);
}

}  // namespace morva
