#include "scene/test_cards.h"

#include "scene/canvas.h"
#include "scene/distance.h"
#include "scene/light.h"

namespace morva::host::scene {
namespace {

// Linear Rec. 709, row by row. The fourth grey is the mid grey.
constexpr Color kPatches[4][6] = {{{0.170f, 0.085f, 0.058f},   // dark skin
                                   {0.540f, 0.300f, 0.220f},   // light skin
                                   {0.120f, 0.195f, 0.335f},   // blue sky
                                   {0.095f, 0.150f, 0.055f},   // foliage
                                   {0.235f, 0.215f, 0.430f},   // blue flower
                                   {0.140f, 0.510f, 0.400f}},  // bluish green
                                  {{0.680f, 0.200f, 0.028f},   // orange
                                   {0.080f, 0.105f, 0.380f},   // purplish blue
                                   {0.530f, 0.100f, 0.125f},   // moderate red
                                   {0.110f, 0.045f, 0.145f},   // purple
                                   {0.340f, 0.500f, 0.055f},   // yellow green
                                   {0.740f, 0.365f, 0.030f}},  // orange yellow
                                  {{0.040f, 0.050f, 0.290f},   // blue
                                   {0.060f, 0.295f, 0.068f},   // green
                                   {0.430f, 0.038f, 0.045f},   // red
                                   {0.800f, 0.570f, 0.018f},   // yellow
                                   {0.490f, 0.092f, 0.300f},   // magenta
                                   {0.015f, 0.230f, 0.360f}},  // cyan
                                  {{0.900f, 0.900f, 0.900f},   // white
                                   {0.590f, 0.590f, 0.590f},
                                   {0.360f, 0.360f, 0.360f},
                                   {0.180f, 0.180f, 0.180f},
                                   {0.090f, 0.090f, 0.090f},
                                   {0.030f, 0.030f, 0.030f}}};  // black

constexpr Point kColourCard = {764.0f, 918.0f};
constexpr float kPatch = 56.0f;
constexpr float kGap = 8.0f;

constexpr Point kLineCard = {1498.0f, 946.0f};
constexpr float kCardWidth = 220.0f, kCardHeight = 190.0f;
constexpr Color kPaper = {0.70f, 0.50f, 0.31f};  // white paper in the lamp's light
constexpr Color kInk = {0.030f, 0.021f, 0.013f};

void paint_card(Picture& canvas, Point corner, float width, float height, Color color) {
  const Point opposite = {corner.x + width, corner.y + height};
  const Area shadow = {corner.x - 30.0f, corner.y, opposite.x + 40.0f, opposite.y + 40.0f};
  for_each_pixel(canvas, shadow, [&](Point p, float* pixel) {
    const float d =
        box(p, {corner.x + 8.0f, corner.y + 12.0f}, {opposite.x + 8.0f, opposite.y + 10.0f});
    put(pixel, color_at(pixel) * (1.0f - 0.65f * (1.0f - smooth_step(-6.0f, 24.0f, d))));
  });
  fill(
      canvas, {corner.x - 1.0f, corner.y - 1.0f, opposite.x + 1.0f, opposite.y + 1.0f},
      [&](Point p) { return box(p, corner, opposite, 3.0f); }, [&](Point) { return color; });
}

// Wedges about a point: lines that grow finer towards it, down to what a pixel can hold.
void paint_fan(Picture& canvas, Point centre, float radius, float wedges) {
  fill(
      canvas, around(centre, radius + 1.0f, radius + 1.0f),
      [&](Point p) { return disc(p, centre, radius); },
      [&](Point p) {
        const float dx = p.x - centre.x, dy = p.y - centre.y;
        const float r = std::max(length(dx, dy), 0.5f);
        const float period_px = 6.2831853f * r / wedges;
        // The mean over a pixel of a square wave, by its edge's slope.
        const float wave = std::sin(wedges * std::atan2(dy, dx)) * period_px * 0.45f;
        const float contrast = smooth_step(1.6f, 2.6f, period_px);
        return mix(kInk, kPaper, 0.5f + contrast * (clamp01(0.5f + wave) - 0.5f));
      });
}

// Groups of upright lines: 1, 1.5, 2, 3 and 4 pixels wide.
void paint_line_groups(Picture& canvas, Point corner) {
  float x = corner.x;
  for (const float width : {4.0f, 3.0f, 2.0f, 1.5f, 1.0f}) {
    for (int line = 0; line < 5; ++line) {
      const float left = x + 2.0f * width * static_cast<float>(line);
      fill(
          canvas, {left - 1.0f, corner.y, left + width + 1.0f, corner.y + 42.0f},
          [&](Point p) { return std::fabs(p.x - left - 0.5f * width) - 0.5f * width; },
          [](Point) { return kInk; });
    }
    x += 10.0f * width + 9.0f;
  }
}

}  // namespace

void paint_colour_card(Picture& canvas) {
  const float width = 6.0f * kPatch + 7.0f * kGap, height = 4.0f * kPatch + 5.0f * kGap;
  paint_card(canvas, kColourCard, width, height, {0.020f, 0.020f, 0.020f});
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 6; ++column) {
      const Point corner = {kColourCard.x + kGap + (kPatch + kGap) * static_cast<float>(column),
                            kColourCard.y + kGap + (kPatch + kGap) * static_cast<float>(row)};
      const Point opposite = {corner.x + kPatch, corner.y + kPatch};
      fill(
          canvas, {corner.x, corner.y, opposite.x, opposite.y},
          [&](Point p) { return box(p, corner, opposite); },
          [&](Point) { return kPatches[row][column]; });
    }
  }
}

void paint_line_card(Picture& canvas) {
  paint_card(canvas, kLineCard, kCardWidth, kCardHeight, kPaper);
  paint_fan(canvas, {kLineCard.x + 68.0f, kLineCard.y + 70.0f}, 56.0f, 36.0f);
  paint_fan(canvas, {kLineCard.x + 168.0f, kLineCard.y + 52.0f}, 38.0f, 72.0f);
  paint_line_groups(canvas, {kLineCard.x + 22.0f, kLineCard.y + 138.0f});
}

}  // namespace morva::host::scene
