#include "scene/room.h"

#include "scene/canvas.h"
#include "scene/distance.h"
#include "scene/light.h"
#include "scene/texture.h"

namespace morva::host::scene {
namespace {

constexpr Color kPlaster = {0.52f, 0.47f, 0.41f};
constexpr Color kSky = {7.6f, 9.2f, 11.5f};
constexpr Color kHorizon = {10.5f, 8.6f, 6.4f};

// The window's opening and its frame.
constexpr float kLeft = 120.0f, kRight = 500.0f, kTop = 80.0f, kBottom = 640.0f;
constexpr float kFrame = 26.0f;

Color sky(Point p) {
  const float down = smooth_step(80.0f, 440.0f, p.y);
  const float veil = smooth_step(-0.1f, 0.5f, cloud(p.x * 0.006f, p.y * 0.016f, 5, 11));
  return mix(mix(kSky, kHorizon, down), Color{10.8f, 10.0f, 9.6f}, 0.55f * veil);
}

float ridge(float x, float level, float height, uint32_t kind) {
  return level + height * cloud(x * 0.011f, 0.5f, 5, kind);
}

// A crown of several billows with a ragged edge.
float tree_crown(Point p, Point centre, float radius) {
  float billows = disc(p, centre, 0.72f * radius);
  for (int i = 0; i < 7; ++i) {
    const float angle = 0.9f * static_cast<float>(i) + 0.4f;
    const Point middle = {centre.x + 0.62f * radius * std::cos(angle),
                          centre.y + 0.48f * radius * std::sin(angle)};
    billows = std::min(billows, disc(p, middle, radius * (0.30f + 0.18f * hash01(i, 0, 22))));
  }
  return billows + 22.0f * cloud(p.x * 0.05f, p.y * 0.05f, 5, 21);
}

Color crown_color(Point p, float sunlit_from) {
  const float leaves = cloud(p.x * 0.13f, p.y * 0.13f, 4, 31);
  const float sun = smooth_step(-0.35f, 0.75f, 0.8f * leaves + 0.009f * (sunlit_from - p.y));
  return mix(Color{0.32f, 0.50f, 0.20f}, Color{3.0f, 3.3f, 0.80f}, sun);
}

void paint_view(Picture& canvas) {
  const Area opening = {kLeft, kTop, kRight, kBottom};
  const auto inside = [](Point p) { return box(p, {kLeft, kTop}, {kRight, kBottom}); };
  fill(canvas, opening, inside, sky);
  fill(
      canvas, opening, [](Point p) { return ridge(p.x, 432.0f, 46.0f, 3) - p.y; },
      [](Point p) {
        return mix(Color{4.4f, 4.7f, 5.3f}, Color{5.2f, 4.8f, 4.3f},
                   smooth_step(430.0f, 500.0f, p.y));
      },
      2.0f);
  fill(
      canvas, opening, [](Point p) { return ridge(p.x + 400.0f, 505.0f, 40.0f, 5) - p.y; },
      [](Point p) {
        const float rows = std::sin(0.25f * (p.x + 2.6f * (p.y - 500.0f)));
        return mix(Color{2.4f, 2.9f, 1.1f}, Color{5.2f, 4.8f, 1.8f},
                   smooth_step(520.0f, 640.0f, p.y)) *
               (1.0f + 0.13f * rows);
      });
  fill(
      canvas, opening,
      [](Point p) {
        return stroke(p, {205.0f, 640.0f}, {212.0f, 430.0f}, 8.0f);
      },
      [](Point p) {
        return Color{0.55f, 0.40f, 0.28f} * (1.0f + 0.4f * noise(p.x, p.y * 0.1f, 7));
      });
  fill(
      canvas, opening,
      [](Point p) {
        return tree_crown(p, {212.0f, 380.0f}, 92.0f);
      },
      [](Point p) { return crown_color(p, 380.0f); });
  fill(
      canvas, opening,
      [](Point p) {
        return tree_crown(p, {476.0f, 560.0f}, 58.0f);
      },
      [](Point p) { return crown_color(p, 560.0f); });
}

// Distance to a rectangle with sharp corners outside as well.
float sharp_box(Point p, Point corner, Point opposite) {
  return std::max(std::max(corner.x - p.x, p.x - opposite.x),
                  std::max(corner.y - p.y, p.y - opposite.y));
}

// Painted wood seen against the light: a dark face with a moulding, and bright where the light
// grazes in along the glass.
Color frame_color(Point p, float distance_to_glass) {
  const float grain = 1.0f + 0.06f * noise(p.x * 0.08f, p.y * 0.5f, 41);
  const float moulding = 1.0f - 0.45f * bell(distance_to_glass - 12.0f, 1.2f) +
                         0.30f * bell(distance_to_glass - 14.5f, 1.2f);
  const float reveal = 1.0f - smooth_step(2.6f, 4.0f, distance_to_glass);
  return Color{0.105f, 0.11f, 0.12f} * (grain * moulding) + kWindowColor * (2.2f * reveal);
}

void paint_frame(Picture& canvas) {
  const Area area = {kLeft - 40.0f, kTop - 40.0f, kRight + 40.0f, kBottom + 40.0f};
  const auto to_glass = [](Point p) { return sharp_box(p, {kLeft, kTop}, {kRight, kBottom}); };
  fill(
      canvas, area, [&](Point p) { return std::max(to_glass(p) - kFrame, -to_glass(p)); },
      [&](Point p) { return frame_color(p, to_glass(p)); });
  const auto bars = [](Point p) {
    return std::min(std::fabs(p.x - 310.0f), std::fabs(p.y - 330.0f)) - 9.0f;
  };
  fill(
      canvas, area, [&](Point p) { return std::max(bars(p), to_glass(p)); },
      [&](Point p) { return frame_color(p, -bars(p)); });
  fill(
      canvas, {60.0f, 640.0f, 560.0f, 700.0f},
      [](Point p) {
        return box(p, {74.0f, 664.0f}, {546.0f, 692.0f}, 4.0f);
      },
      [](Point p) {
        const float top = smooth_step(682.0f, 668.0f, p.y);
        return mix(Color{0.15f, 0.155f, 0.165f}, kWindowColor * 2.4f, top);
      });
}

Color book_color(int shelf, int book) {
  constexpr Color kSpines[] = {{0.30f, 0.08f, 0.06f}, {0.10f, 0.16f, 0.26f}, {0.32f, 0.26f, 0.14f},
                               {0.09f, 0.20f, 0.12f}, {0.40f, 0.36f, 0.30f}, {0.18f, 0.10f, 0.20f}};
  return kSpines[static_cast<int>(hash01(shelf, book, 51) * 5.999f)];
}

// Books stand in slots of a fixed width; each fills its slot up to a height and lean of its own.
Color shelf_color(Point p) {
  constexpr float kRowHeight = 150.0f, kSlot = 27.0f;
  const float from_top = p.y - 150.0f;
  const int shelf = static_cast<int>(std::floor(from_top / kRowHeight));
  const float in_row = from_top - static_cast<float>(shelf) * kRowHeight;
  const float board = smooth_step(137.0f, 138.0f, in_row);
  const int book = static_cast<int>(std::floor((p.x - 1520.0f) / kSlot));
  const float across = (p.x - 1520.0f) / kSlot - static_cast<float>(book);
  const float height = 88.0f + 40.0f * hash01(shelf, book, 52);
  const float inside = smooth_step(137.0f - height - 1.0f, 137.0f - height, in_row) *
                       smooth_step(0.0f, 0.05f, across) *
                       (1.0f - smooth_step(0.93f, 0.98f, across));
  const bool gap = hash01(shelf, book, 53) < 0.14f;
  const float round = 0.35f + 0.65f * std::sin(3.14159f * clamp01(across));
  const float title =
      bell(in_row - 90.0f, 7.0f) * 0.35f * (hash01(shelf, book, 54) > 0.4f ? 1.f : 0.f);
  const Color spine = book_color(shelf, book) * round + Color{title, title * 0.8f, title * 0.4f};
  const Color back = {0.05f, 0.035f, 0.025f};
  const Color wood_color = {0.22f, 0.13f, 0.07f};
  return mix(mix(back, spine, gap ? 0.0f : inside), wood_color, board);
}

}  // namespace

void paint_wall(Picture& canvas) {
  for_each_pixel(canvas, kEverywhere, [](Point p, float* pixel) {
    const float trowel = cloud(p.x * 0.012f, p.y * 0.017f, 5, 61);
    const float grit = noise(p.x * 0.6f, p.y * 0.6f, 66);
    const Color day = kWindowColor * (0.17f * std::exp(-std::max(p.x - 300.0f, 0.0f) / 330.0f));
    const Vec3 here = {p.x, p.y, 0.0f};
    const Vec3 to_bulb = Vec3{kBareBulb.x, kBareBulb.y, 210.0f} - here;
    const float squared = dot(to_bulb, to_bulb);
    const Color bulb =
        kLampColor * (0.42f * 210.0f * 210.0f * 210.0f / (squared * std::sqrt(squared)));
    const Color light = ambient_at(p.x, p.y) + day + bulb + lamp_on_wall(p);
    put(pixel, kPlaster * light * (1.0f + 0.10f * trowel + 0.035f * grit));
  });
}

void paint_window(Picture& canvas) {
  paint_view(canvas);
  paint_frame(canvas);
}

void paint_curtain(Picture& canvas) {
  // Thin cloth before the window: folds pass more or less light, the weave shows in them.
  const auto edge = [](Point p) {
    return p.x - (150.0f - 34.0f * smooth_step(60.0f, 820.0f, p.y) + 7.0f * std::sin(p.y * 0.012f));
  };
  fill(
      canvas, {0.0f, 30.0f, 240.0f, 850.0f},
      [&](Point p) { return std::max(edge(p), std::max(36.0f - p.y, p.y - 842.0f)); },
      [](Point p) {
        const float fold =
            std::sin(0.13f * p.x + 0.35f * std::sin(p.y * 0.006f) + 0.002f * p.y + 1.1f);
        const float before_glass = smooth_step(70.0f, 130.0f, p.x) *
                                   smooth_step(50.0f, 110.0f, p.y) *
                                   (1.0f - smooth_step(600.0f, 690.0f, p.y));
        const float light = mix(0.16f, 2.5f, before_glass) * (0.62f + 0.38f * fold);
        return Color{0.92f, 0.90f, 0.84f} * (light * (1.0f + 0.16f * weave(p.x, p.y, 3.0f)));
      });
}

void paint_bookshelf(Picture& canvas) {
  fill(
      canvas, {1490.0f, 120.0f, kWidth, kTableEdge},
      [](Point p) {
        return box(p, {1504.0f, 132.0f}, {1900.0f, 1000.0f});
      },
      [](Point p) {
        const bool side = p.x < 1520.0f || p.y < 150.0f;
        const Color surface = side ? Color{0.22f, 0.13f, 0.07f} : shelf_color(p);
        const float lamp = 0.16f * bell(p.x - 1400.0f, 190.0f) * bell(p.y - 660.0f, 330.0f);
        return surface * (kLampColor * (lamp + 0.006f) + kWindowColor * 0.010f);
      });
}

void paint_table(Picture& canvas) {
  fill(
      canvas, {0.0f, kTableEdge - 2.0f, kWidth, kHeight}, [](Point p) { return kTableEdge - p.y; },
      [](Point p) {
        const float depth = (p.y - kTableEdge) * 1.5f;  // towards the viewer
        const float near = 1.0f + depth / 700.0f;       // boards widen towards the viewer
        const float grain = wood((p.x - 900.0f) / near, depth / (26.0f * near), 71);
        const float board = std::fabs(std::fmod(depth / near, 92.0f) - 46.0f);
        const float joint = 1.0f - 0.7f * smooth_step(44.6f, 45.6f, board);
        const Color surface = Color{0.30f, 0.165f, 0.085f} * ((1.0f + 0.22f * grain) * joint);
        const Vec3 here = {p.x, kTableEdge, depth};
        const Color light = light_on(here, {0.0f, -1.0f, 0.0f});
        const float back = bell(p.y - kTableEdge, 210.0f);
        const Color window = kWindowColor * (0.34f * back * bell(p.x - 310.0f, 170.0f));
        const Color lamp = kLampColor * (0.30f * back * bell(p.x - kLampBulb.x, 46.0f));
        return surface * light + (window + lamp) * (0.8f + 0.2f * grain);
      });
  // The lit front edge of the back rim.
  fill(
      canvas, {0.0f, kTableEdge - 4.0f, kWidth, kTableEdge + 4.0f},
      [](Point p) { return std::fabs(p.y - kTableEdge) - 1.2f; },
      [](Point p) {
        return light_on({p.x, kTableEdge, 0.0f}, {0.0f, -0.7f, 0.7f}) * 0.16f;
      },
      2.0f);
}

}  // namespace morva::host::scene
