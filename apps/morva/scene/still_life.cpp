#include "scene/still_life.h"

#include "scene/canvas.h"
#include "scene/distance.h"
#include "scene/light.h"
#include "scene/texture.h"

namespace morva::host::scene {
namespace {

constexpr float kPi = 3.14159265f;

// A solid of revolution with an upright axis: its light at `across` (-1..1 from rim to rim).
Color turned(Point p, float across, float tilt, Color albedo, float sheen) {
  const Vec3 normal =
      normalized({across, 0.6f * tilt, std::sqrt(std::max(0.0f, 1.0f - across * across))});
  const Vec3 here = {p.x, p.y, 200.0f};
  return albedo * light_on(here, normal) + sheen_on(here, normal, 60.0f) * sheen;
}

struct Leaf {
  Point root, tip;
  float half_width;
  float turn;   // how it faces the light, -1..1
  float shade;  // 0 for a leaf deep in the bush, 1 for one outside
};

float leaf_outline(const Leaf& leaf, Point p, float& along, float& across) {
  const float dx = leaf.tip.x - leaf.root.x, dy = leaf.tip.y - leaf.root.y;
  const float size = length(dx, dy);
  const float ux = dx / size, uy = dy / size;
  along = ((p.x - leaf.root.x) * ux + (p.y - leaf.root.y) * uy) / size;
  // A blade that bends as it goes out.
  const float bend = leaf.turn * 0.16f * size * std::sin(kPi * clamp01(along));
  const float off = (p.x - leaf.root.x) * -uy + (p.y - leaf.root.y) * ux - bend;
  const float inside = clamp01(along);
  const float half =
      leaf.half_width * std::pow(std::sin(kPi * std::pow(inside, 0.8f)), 0.8f) + 0.01f;
  across = off / half;
  return std::max(std::fabs(off) - half, std::max(-along, along - 1.0f) * size);
}

Color leaf_color(const Leaf& leaf, Point p, float along, float across) {
  const float rib = bell(across, 0.07f);
  const float veins = 0.5f + 0.5f * std::sin(34.0f * along - 9.0f * std::fabs(across));
  const float side = across > 0.0f ? 1.0f : -1.0f;
  const Vec3 normal = normalized({leaf.turn * 0.5f + 0.35f * side, -0.55f, 0.7f});
  const float depth = 0.65f + 0.5f * leaf.shade;
  const Color green = mix(Color{0.060f, 0.130f, 0.030f}, Color{0.085f, 0.170f, 0.040f}, veins);
  const Vec3 here = {p.x, p.y, 330.0f};
  const Color front =
      green * depth * light_on(here, normal) + sheen_on(here, normal, 18.0f) * 0.018f;
  // Before the window the light comes through, yellower than what is thrown back.
  const float before_glass = smooth_step(540.0f, 480.0f, p.x) * smooth_step(700.0f, 610.0f, p.y);
  const Color through = Color{0.55f, 0.95f, 0.09f} * (before_glass * (0.75f + 0.25f * veins));
  return (front + through) * (1.0f + 0.5f * rib);
}

void paint_leaf(Picture& canvas, const Leaf& leaf) {
  const float reach =
      leaf.half_width + 0.2f * length(leaf.tip.x - leaf.root.x, leaf.tip.y - leaf.root.y);
  const Area area = {
      std::min(leaf.root.x, leaf.tip.x) - reach, std::min(leaf.root.y, leaf.tip.y) - reach,
      std::max(leaf.root.x, leaf.tip.x) + reach, std::max(leaf.root.y, leaf.tip.y) + reach};
  float along = 0.0f, across = 0.0f;
  fill(
      canvas, area, [&](Point p) { return leaf_outline(leaf, p, along, across); },
      [&](Point p) { return leaf_color(leaf, p, along, across); });
}

void paint_pot(Picture& canvas) {
  shade_ellipse(canvas, {430.0f, 1012.0f}, 105.0f, 26.0f, 0.7f);
  const auto clay = [](Point p, float half) {
    const float across = (p.x - 400.0f) / half;
    const float rough = 1.0f + 0.10f * cloud(p.x * 0.05f, p.y * 0.09f, 4, 101);
    return turned(p, across, 0.0f, Color{0.36f, 0.145f, 0.075f} * rough, 0.0f);
  };
  fill(
      canvas, {310.0f, 860.0f, 490.0f, 1030.0f},
      [](Point p) {
        return std::max(trapezium(p, 400.0f, 880.0f, 1040.0f, 74.0f, 54.0f),
                        ellipse(p, {400.0f, 880.0f}, 200.0f, 134.0f));
      },
      [&](Point p) { return clay(p, 74.0f - 0.125f * (p.y - 880.0f)); });
  fill(
      canvas, {310.0f, 840.0f, 490.0f, 910.0f},
      [](Point p) {
        return box(p, {318.0f, 862.0f}, {482.0f, 900.0f}, 8.0f);
      },
      [&](Point p) { return clay(p, 82.0f) * (1.0f + 0.5f * bell(p.y - 865.0f, 4.0f)); });
  fill(
      canvas, {310.0f, 850.0f, 490.0f, 880.0f},
      [](Point p) {
        return ellipse(p, {400.0f, 864.0f}, 78.0f, 11.0f);
      },
      [](Point p) {
        return Color{0.030f, 0.020f, 0.013f} * (1.0f + 0.6f * noise(p.x * 0.3f, p.y * 0.5f, 102));
      });
}

struct Fruit {
  Point centre;
  float radius;
  Color albedo;
  float pits;  // how rough the skin is
};

void paint_one_fruit(Picture& canvas, const Fruit& fruit) {
  const Point c = fruit.centre;
  const float r = fruit.radius;
  shade_ellipse(canvas, {c.x - 0.25f * r, c.y + 0.86f * r}, 1.05f * r, 0.32f * r, 0.8f);
  fill(
      canvas, around(c, r + 2.0f, r + 2.0f), [&](Point p) { return disc(p, c, r); },
      [&](Point p) {
        const float u = (p.x - c.x) / r, v = (p.y - c.y) / r;
        const float w = std::sqrt(std::max(0.0f, 1.0f - u * u - v * v));
        const float pu = fruit.pits * noise(p.x * 0.35f, p.y * 0.35f, 111);
        const float pv = fruit.pits * noise(p.x * 0.35f, p.y * 0.35f, 112);
        const Vec3 normal = normalized({u + pu, v + pv, w});
        const Vec3 here = {p.x, p.y, 190.0f + r * w};
        const float blotch = 1.0f + 0.18f * cloud(u * 2.0f + 5.0f, v * 3.0f, 4, 113);
        const float under = mix(0.35f, 1.0f, smooth_step(0.95f, 0.2f, v));
        return fruit.albedo * light_on(here, normal) * (blotch * under) +
               sheen_on(here, normal, 45.0f) * 0.42f;
      });
}

float vase_half_width(float y) {
  // Foot, belly, neck and lip, from 775 down to 985.
  const float t = clamp01((y - 775.0f) / 210.0f);
  const float belly = 60.0f * std::exp(-(t - 0.60f) * (t - 0.60f) / 0.075f);
  const float lip = 13.0f * bell(t, 0.07f);
  return 17.0f + belly + lip + 12.0f * smooth_step(0.85f, 1.0f, t);
}

}  // namespace

void paint_plant(Picture& canvas) {
  paint_pot(canvas);
  constexpr int kLeaves = 38;
  for (int i = 0; i < kLeaves; ++i) {
    // From the back of the bush to the front, fanned out about the upright.
    const float place = static_cast<float>(i) / (kLeaves - 1);
    const float fan = 2.0f * hash01(i, 0, 121) - 1.0f;
    const float angle = fan * mix(0.75f, 1.45f, place);
    const float size = mix(335.0f, 130.0f, place) * (0.80f + 0.35f * hash01(i, 1, 121));
    const Point root = {400.0f + 38.0f * fan, 866.0f};
    const Point tip = {root.x + size * std::sin(angle), root.y - size * std::cos(angle)};
    paint_leaf(canvas, {root, tip, mix(25.0f, 17.0f, place),
                        fan + 0.5f * (hash01(i, 2, 121) - 0.5f), hash01(i, 3, 121)});
  }
}

void paint_vase(Picture& canvas) {
  shade_ellipse(canvas, {580.0f, 990.0f}, 70.0f, 20.0f, 0.7f);
  fill(
      canvas, {460.0f, 770.0f, 660.0f, 1000.0f},
      [](Point p) {
        const float side = std::fabs(p.x - 562.0f) - vase_half_width(p.y);
        const float foot = ellipse(p, {562.0f, 955.0f}, 120.0f, 32.0f);
        return std::max(0.8f * side, std::max(775.0f - p.y, p.y > 955.0f ? foot : -1.0f));
      },
      [](Point p) {
        const float half = vase_half_width(p.y);
        const float slope = (vase_half_width(p.y + 2.0f) - vase_half_width(p.y - 2.0f)) / 4.0f;
        const float band = bell(p.y - 842.0f, 7.0f) + bell(p.y - 862.0f, 2.5f);
        const Color glaze =
            mix(Color{0.80f, 0.79f, 0.75f}, Color{0.035f, 0.06f, 0.24f}, std::min(band, 1.0f));
        return turned(p, (p.x - 562.0f) / half, -slope, glaze, 1.1f);
      });
  fill(
      canvas, {520.0f, 765.0f, 600.0f, 790.0f},
      [](Point p) {
        return ellipse(p, {562.0f, 776.0f}, 27.0f, 5.0f);
      },
      [](Point) {
        return Color{0.030f, 0.030f, 0.032f};
      });
}

void paint_fruit(Picture& canvas) {
  constexpr Fruit kFruit[] = {{{1262.0f, 1004.0f}, 56.0f, {0.62f, 0.205f, 0.018f}, 0.10f},
                              {{1362.0f, 1018.0f}, 50.0f, {0.66f, 0.50f, 0.035f}, 0.08f},
                              {{1300.0f, 1066.0f}, 54.0f, {0.42f, 0.030f, 0.022f}, 0.015f},
                              {{1412.0f, 1086.0f}, 47.0f, {0.24f, 0.36f, 0.045f}, 0.02f}};
  for (const Fruit& fruit : kFruit) paint_one_fruit(canvas, fruit);
  for (const Point stalk : {Point{1296.0f, 1018.0f}, Point{1410.0f, 1044.0f}}) {
    fill(
        canvas, around(stalk, 16.0f, 20.0f),
        [&](Point p) {
          return stroke(p, {stalk.x, stalk.y + 6.0f}, {stalk.x + 5.0f, stalk.y - 12.0f}, 2.0f);
        },
        [](Point) {
          return Color{0.07f, 0.045f, 0.02f};
        });
  }
}

void paint_black_ball(Picture& canvas) {
  const Point c = {664.0f, 1052.0f};
  const float r = 56.0f;
  shade_ellipse(canvas, {c.x + 18.0f, c.y + 50.0f}, 64.0f, 18.0f, 0.85f);
  fill(
      canvas, around(c, r + 2.0f, r + 2.0f), [&](Point p) { return disc(p, c, r); },
      [&](Point p) {
        const float u = (p.x - c.x) / r, v = (p.y - c.y) / r;
        const float w = std::sqrt(std::max(0.0f, 1.0f - u * u - v * v));
        const Vec3 here = {p.x, p.y, 330.0f};
        // The window's image, bent with the ball, its bars dark; the table's below.
        const Point pane = {(u + 0.46f - 0.10f * v * v) / 0.15f, (v + 0.36f) / 0.21f};
        const float glass = box(pane, {-1.0f, -1.0f}, {1.0f, 1.0f}, 0.1f);
        const float bars = std::max(bell(pane.x, 0.10f), bell(pane.y, 0.08f));
        const Color window =
            kWindowColor * (4.5f * clamp01(0.5f - 9.0f * glass) * (1.0f - 0.9f * bars));
        const Color table =
            Color{0.10f, 0.055f, 0.03f} * (smooth_step(0.15f, 0.75f, v) * (1.0f - 0.6f * w));
        const float grazing = std::pow(1.0f - w, 3.0f);
        const Color rim = Color{0.16f, 0.15f, 0.14f} * grazing;
        return Color{0.004f, 0.004f, 0.005f} + window + table + rim +
               sheen_on(here, normalized({u, v, w}), 900.0f) * 12.0f * (u > 0.0f ? 1.0f : 0.0f);
      });
}

void paint_cloth(Picture& canvas) {
  // A linen cloth with blue stripes, thrown over the corner of the table.
  const auto outline = [](Point p) {
    const float hem = 0.5f * std::sin(0.9f * p.x) + 5.0f * std::sin(0.02f * p.x);
    const float back = 1036.0f + 0.05f * p.x - p.y + hem;
    const float right =
        (p.x - 520.0f - 0.35f * (p.y - 1040.0f)) * 0.94f + 6.0f * std::sin(0.03f * p.y);
    return std::max(back, right);
  };
  for_each_pixel(canvas, {0.0f, 1010.0f, 640.0f, kHeight}, [&](Point p, float* pixel) {
    const float near = clamp01(1.0f - outline({p.x - 12.0f, p.y - 12.0f}) / 26.0f);
    put(pixel, color_at(pixel) * (1.0f - 0.6f * near));
  });
  fill(canvas, {0.0f, 1010.0f, 640.0f, kHeight}, outline, [](Point p) {
    const float lie = 0.045f * p.x + 0.10f * p.y;
    const float fold = std::sin(lie * 0.42f + 1.4f * noise(p.x * 0.006f, p.y * 0.008f, 131));
    const float u = p.x + 10.0f * fold, v = p.y - 0.25f * p.x + 7.0f * fold;
    const float place = v - 56.0f * std::floor(v / 56.0f);
    const bool stripe = place < 11.0f || (place > 17.0f && place < 20.0f);
    const Color yarn = stripe ? Color{0.060f, 0.095f, 0.26f} : Color{0.66f, 0.62f, 0.53f};
    const float thread = weave(u, v, 3.4f) + 0.35f * noise(u * 0.3f, v * 0.04f, 132);
    const Vec3 normal = normalized({-0.42f * fold, -0.80f, 0.40f});
    const Color light = light_on({p.x, 870.0f, (p.y - 860.0f) * 1.5f}, normal);
    return yarn * light * ((1.0f + 0.24f * thread) * (0.86f + 0.14f * fold));
  });
}

}  // namespace morva::host::scene
