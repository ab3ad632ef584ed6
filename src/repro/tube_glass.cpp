#include "repro/tube_glass.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "image/elementary.h"
#include "image/held.h"
#include "optics/lens_sampling.h"

namespace morva {

namespace {

constexpr double kMostWires = 100.0;
constexpr double kThinnestWirePx = 0.25;
constexpr double kBeside = 0.05;  // of the height: wires further out cast nothing on the picture
constexpr double kReachSigmas = 6.0;
constexpr double kMostSunk = -0.45;  // at -0.5 the whole screen would be seen from its centre
constexpr double kMostBulge = 10.0;

// How much of the pixel lies within the rounded outline, the edge soft over one pixel.
float within_outline(float x, float y, float half_w, float half_h, float radius) {
  const float beyond_x = std::fabs(x) - (half_w - radius);
  const float beyond_y = std::fabs(y) - (half_h - radius);
  if (beyond_x <= 0.0f || beyond_y <= 0.0f) return 1.0f;
  const float beyond = std::sqrt(beyond_x * beyond_x + beyond_y * beyond_y) - radius;
  return std::clamp(0.5f - beyond, 0.0f, 1.0f);
}

// Heights of the wires that cast something on the picture, pixels.
std::vector<double> wire_heights(const DampingWires& wires, int picture_h) {
  const int count = static_cast<int>(held(wires.count, 0.0, kMostWires));
  std::vector<double> heights;
  for (int wire = 1; wire <= count; ++wire) {
    const double height = (wire / (count + 1.0) - 0.5) * wires.zoom + 0.5;
    if (height >= -kBeside && height <= 1.0 + kBeside) heights.push_back(height * picture_h);
  }
  return heights;
}

// The light that a row keeps behind a wire.
double light_past_wire(double away_sigmas, double depth) {
  if (std::fabs(away_sigmas) > kReachSigmas) return 1.0;
  return 1.0 - depth * elementary::exp(-0.5 * away_sigmas * away_sigmas);
}

// Dark beyond the picture's edges, which are soft over one pixel. `at` is the place of a pixel's
// centre, from 0 to n.
float within_picture(float at, int n) {
  return std::clamp(std::min(at, static_cast<float>(n) - at) + 0.5f, 0.0f, 1.0f);
}

}  // namespace

void shade_screen(Image& picture, const ScreenShade& shade) {
  const auto vignette = static_cast<float>(held(shade.vignette, 0.0, 1.0));
  const auto half_w = static_cast<float>(picture.w * shade.zoom / 2.0);
  const auto half_h = static_cast<float>(picture.h * shade.zoom / 2.0);
  const float radius = std::min(
      {2.0f * half_h * static_cast<float>(held(shade.corner_radius, 0.0, 0.5)), half_w, half_h});
  if (vignette <= 0.0f && radius <= 0.0f) return;
  const float corner_square = half_w * half_w + half_h * half_h;
  for (int y = 0; y < picture.h; ++y) {
    const auto dy = static_cast<float>(y + 0.5 - picture.h / 2.0);
    float* p = &picture.at(y, 0);
    for (int x = 0; x < picture.w; ++x, p += 3) {
      const auto dx = static_cast<float>(x + 0.5 - picture.w / 2.0);
      const float level = 1.0f - vignette * (dx * dx + dy * dy) / corner_square;
      const float light = level * within_outline(dx, dy, half_w, half_h, radius);
      p[0] *= light, p[1] *= light, p[2] *= light;
    }
  }
}

void cast_wires(Image& picture, const DampingWires& wires) {
  const double sigma_px = std::min<double>(wires.sigma_px, picture.h);
  if (!(sigma_px >= kThinnestWirePx)) return;
  const double depth = held(wires.depth, 0.0, 1.0);
  const std::vector<double> heights = wire_heights(wires, picture.h);
  for (int y = 0; y < picture.h; ++y) {
    double light = 1.0;
    for (const double height : heights)
      light *= light_past_wire((y + 0.5 - height) / sigma_px, depth);
    if (light == 1.0) continue;
    float* row = &picture.at(y, 0);
    for (std::size_t i = 0; i < picture.row_samples(); ++i) row[i] *= static_cast<float>(light);
  }
}

Image bulge_glass(Image picture, const GlassBulge& glass) {
  if (glass.bulge == 0.0) return picture;
  const auto bulge = static_cast<float>(held(glass.bulge, kMostSunk, kMostBulge));
  const float edge = 1.0f / ((glass.sphere ? 2.0f : 1.0f) * bulge + 1.0f);
  const auto h = static_cast<float>(picture.h), w = static_cast<float>(picture.w);
  Image seen(picture.h, picture.w, 3);
  float* out = seen.data.data();
  for (int y = 0; y < seen.h; ++y) {
    const float v = 2.0f * (static_cast<float>(y) + 0.5f) / h - 1.0f;
    const float v_square = glass.sphere ? v * v : 0.0f;
    for (int x = 0; x < seen.w; ++x, out += 3) {
      const float u = 2.0f * (static_cast<float>(x) + 0.5f) / w - 1.0f;
      const float k = ((u * u + v_square) * bulge + 1.0f) * edge;
      const float at_x = (u * k + 1.0f) * 0.5f * w, at_y = (v * k + 1.0f) * 0.5f * h;
      const float light = within_picture(at_x, picture.w) * within_picture(at_y, picture.h);
      const FourPixels from(picture, between(at_y - 0.5f, picture.h),
                            between(at_x - 0.5f, picture.w));
      for (int c = 0; c < 3; ++c) out[c] = light * from.mix(picture.data.data() + c);
    }
  }
  return seen;
}

}  // namespace morva
