#include "scene/lamps.h"

#include "scene/canvas.h"
#include "scene/distance.h"
#include "scene/light.h"
#include "scene/texture.h"

namespace morva::host::scene {
namespace {

// A glowing wire is a little yellow even where it is far above white.
constexpr Color kWire = {kLampValue, kLampValue * 0.80f, kLampValue * 0.52f};

void paint_shade(Picture& canvas) {
  const Area area = {1190.0f, 390.0f, 1490.0f, 570.0f};
  fill(
      canvas, area,
      [](Point p) { return trapezium(p, kLampBulb.x, 398.0f, 560.0f, 76.0f, 134.0f); },
      [](Point p) {
        const float half = 76.0f + 58.0f * (p.y - 398.0f) / 162.0f;
        const float across = (p.x - kLampBulb.x) / half;
        const float round = std::sqrt(std::max(0.0f, 1.0f - across * across));
        const float behind = bell(p.y - 540.0f, 105.0f) * bell(p.x - kLampBulb.x, 92.0f);
        const float rim = bell(p.y - 400.0f, 3.0f) + bell(p.y - 557.0f, 3.0f);
        const float linen =
            1.0f + 0.10f * weave(p.x, p.y, 2.6f) + 0.08f * noise(p.x * 0.2f, p.y * 0.02f, 81);
        const float light =
            (0.50f + 0.55f * round + 2.3f * behind) * linen * (1.0f - 0.45f * std::min(rim, 1.0f));
        return Color{1.0f, 0.74f, 0.44f} * light;
      });
}

void paint_lamp_foot(Picture& canvas) {
  const auto brass = [](Point p, float across) {
    const float round = std::sqrt(std::max(0.0f, 1.0f - across * across));
    const Vec3 normal = normalized({across, -0.15f, round});
    const Vec3 here = {p.x, p.y, 190.0f};
    const Color body = Color{0.55f, 0.38f, 0.14f} * (light_on(here, normal) * 0.35f);
    const float streak = bell(across + 0.45f, 0.12f) * 0.9f + bell(across - 0.55f, 0.10f) * 0.4f;
    return body + Color{1.0f, 0.75f, 0.38f} * streak * smooth_step(980.0f, 600.0f, p.y);
  };
  fill(
      canvas, {1320.0f, 580.0f, 1360.0f, 950.0f},
      [](Point p) {
        return box(p, {kLampBulb.x - 7.0f, 588.0f}, {kLampBulb.x + 7.0f, 920.0f});
      },
      [&](Point p) { return brass(p, (p.x - kLampBulb.x) / 7.0f); });
  fill(
      canvas, {1240.0f, 880.0f, 1440.0f, 970.0f},
      [](Point p) {
        return ellipse(p, {kLampBulb.x, 926.0f}, 78.0f, 24.0f);
      },
      [&](Point p) {
        return brass(p, (p.x - kLampBulb.x) / 80.0f) * (p.y < 926.0f ? 1.0f : 0.8f);
      });
  fill(
      canvas, {1240.0f, 860.0f, 1440.0f, 960.0f},
      [](Point p) {
        return ellipse(p, {kLampBulb.x, 918.0f}, 76.0f, 21.0f);
      },
      [](Point p) {
        const Color light = light_on({p.x, 915.0f, 190.0f + p.y - 918.0f}, {0.0f, -1.0f, 0.0f});
        return Color{0.34f, 0.23f, 0.08f} * light * 0.8f;
      });
}

void paint_small_light(Picture& canvas, Point at) {
  add_glow(canvas, at, 26.0f, kLampColor * 0.035f);
  add_glow(canvas, at, 9.0f, kLampColor * 0.9f);
  fill(
      canvas, around(at, 8.0f, 8.0f), [&](Point p) { return disc(p, at, 3.4f); },
      [](Point) { return kWire; });
}

}  // namespace

void paint_bare_bulb(Picture& canvas) {
  const Point at = kBareBulb;
  fill(
      canvas, {at.x - 6.0f, 0.0f, at.x + 6.0f, at.y},
      [&](Point p) {
        return stroke(p, {at.x, -10.0f}, {at.x, at.y - 66.0f}, 2.2f);
      },
      [](Point) {
        return Color{0.030f, 0.024f, 0.018f};
      });
  fill(
      canvas, around({at.x, at.y - 56.0f}, 16.0f, 24.0f),
      [&](Point p) {
        return box(p, {at.x - 12.0f, at.y - 74.0f}, {at.x + 12.0f, at.y - 40.0f}, 4.0f);
      },
      [&](Point p) {
        const float across = (p.x - at.x) / 12.0f;
        return Color{0.45f, 0.32f, 0.13f} * (0.25f + 1.1f * bell(across + 0.3f, 0.3f));
      });
  // Clear glass: a little light everywhere, a bright rim, the wire inside.
  const auto glass = [&](Point p) {
    return blended(disc(p, at, 38.0f),
                   box(p, {at.x - 13.0f, at.y - 56.0f}, {at.x + 13.0f, at.y}, 6.0f), 14.0f);
  };
  const Area area = around(at, 60.0f, 70.0f);
  for_each_pixel(canvas, area, [&](Point p, float* pixel) {
    const float d = glass(p);
    const float inside = clamp01(0.5f - d);
    const float rim = bell(d + 2.5f, 3.0f);
    put(pixel, color_at(pixel) + kLampColor * (inside * (0.55f + 2.2f * rim)));
  });
  add_glow(canvas, at, 19.0f, kLampColor * 5.0f);
  fill(
      canvas, area,
      [&](Point p) {
        // The wire hangs in a zigzag between two posts.
        float nearest = 1e9f;
        for (int turn = -3; turn < 3; ++turn) {
          const float x = at.x + 6.0f * static_cast<float>(turn);
          const float up = turn % 2 == 0 ? -13.0f : 11.0f;
          nearest =
              std::min(nearest, stroke(p, {x, at.y + up}, {x + 6.0f, at.y - 2.0f - up}, 1.5f));
        }
        return nearest;
      },
      [](Point) { return kWire; });
}

void paint_table_lamp(Picture& canvas) {
  shade_ellipse(canvas, {kLampBulb.x, 940.0f}, 92.0f, 26.0f, 0.75f);
  paint_lamp_foot(canvas);
  add_glow(canvas, {kLampBulb.x, kLampBulb.y + 6.0f}, 34.0f, kLampColor * 2.5f);
  fill(
      canvas, around(kLampBulb, 40.0f, 40.0f),
      [](Point p) {
        return disc(p, {kLampBulb.x, kLampBulb.y + 2.0f}, 21.0f);
      },
      [](Point p) {
        const float r = length(p.x - kLampBulb.x, p.y - kLampBulb.y - 2.0f);
        return mix(kWire, Color{14.0f, 10.5f, 6.0f}, smooth_step(8.0f, 21.0f, r));
      });
  paint_shade(canvas);
}

void paint_string_of_lights(Picture& canvas) {
  const auto hang = [](float t) {
    return Point{mix(1436.0f, 1830.0f, t), mix(-14.0f, 150.0f, t) + 320.0f * t * (1.0f - t)};
  };
  constexpr int kLights = 9;
  for (int part = 0; part < 40; ++part) {
    const Point a = hang(static_cast<float>(part) / 40.0f),
                b = hang(static_cast<float>(part + 1) / 40.0f);
    fill(
        canvas, {a.x - 4.0f, a.y - 12.0f, b.x + 4.0f, b.y + 12.0f},
        [&](Point p) { return stroke(p, a, b, 1.0f); },
        [](Point) {
          return Color{0.006f, 0.008f, 0.006f};
        });
  }
  for (int light = 0; light < kLights; ++light) {
    const Point at = hang((static_cast<float>(light) + 0.4f) / kLights);
    paint_small_light(canvas, {at.x, at.y + 7.0f});
  }
}

}  // namespace morva::host::scene
