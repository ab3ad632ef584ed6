#include "scene/sitters.h"

#include "scene/canvas.h"
#include "scene/distance.h"
#include "scene/light.h"
#include "scene/room.h"
#include "scene/texture.h"

namespace morva::host::scene {
namespace {

struct Sitter {
  Point head;  // middle of the head
  float size;  // half the width of the head, pixels
  float distance_from_wall;
  Color skin, lips, hair, wool;
  bool bun;
};

constexpr Sitter kLeft = {{668.0f, 470.0f},
                          88.0f,
                          200.0f,
                          {0.60f, 0.36f, 0.26f},
                          {0.44f, 0.16f, 0.13f},
                          {0.060f, 0.033f, 0.020f},
                          {0.055f, 0.150f, 0.190f},
                          true};
constexpr Sitter kRight = {{1010.0f, 506.0f},
                           84.0f,
                           200.0f,
                           {0.205f, 0.105f, 0.066f},
                           {0.150f, 0.055f, 0.045f},
                           {0.012f, 0.010f, 0.009f},
                           {0.420f, 0.110f, 0.070f},
                           false};
constexpr float kSmile = 0.55f;       // how far the corners of the mouth are drawn up
constexpr float kHeadHeight = 1.34f;  // half its height, against half its width

// Coordinates of the face: 1 is the head's outline on each side.
Point on_face(const Sitter& sitter, Point p) {
  return {(p.x - sitter.head.x) / sitter.size, (p.y - sitter.head.y) / (sitter.size * kHeadHeight)};
}

// Egg-shaped: how much narrower the head is towards the chin.
float jaw(float down) {
  return 1.0f + 0.13f * smooth_step(0.25f, 1.0f, down);
}

// The relief of a face that looks at us, out of the picture plane, in half head widths.
float face_relief(Point f) {
  const float side = std::fabs(f.x);
  const float narrow = jaw(f.y);
  const float skull = std::sqrt(std::max(0.0f, 1.0f - f.x * f.x * narrow * narrow - f.y * f.y));
  const float along_nose =
      smooth_step(-0.30f, 0.20f, f.y) * (1.0f - smooth_step(0.20f, 0.29f, f.y));
  const float nose = 0.24f * along_nose * bell(f.x, 0.085f + 0.07f * smooth_step(0.0f, 0.22f, f.y));
  const float nostrils = 0.07f * bell(side - 0.13f, 0.07f) * bell(f.y - 0.20f, 0.06f);
  const float sockets = -0.10f * bell(side - 0.36f, 0.20f) * bell(f.y + 0.12f, 0.12f);
  const float lids = 0.085f * bell(side - 0.36f, 0.13f) * bell(f.y + 0.095f, 0.058f);
  const float brow = 0.050f * bell(side - 0.34f, 0.25f) * bell(f.y + 0.27f, 0.07f);
  const float cheeks = 0.060f * bell(side - 0.48f, 0.20f) * bell(f.y - 0.18f, 0.18f);
  const float mouth_y = f.y + kSmile * f.x * f.x;
  const float upper_lip = 0.045f * bell(f.x, 0.24f) * bell(mouth_y - 0.465f, 0.040f);
  const float lower_lip = 0.060f * bell(f.x, 0.20f) * bell(mouth_y - 0.565f, 0.050f);
  const float mouth = -0.035f * bell(f.x, 0.26f) * bell(mouth_y - 0.512f, 0.018f);
  const float chin = 0.070f * bell(f.x, 0.24f) * bell(f.y - 0.80f, 0.12f);
  return skull + nose + nostrils + sockets + lids + brow + cheeks + upper_lip + lower_lip + mouth +
         chin;
}

Vec3 face_normal(Point f) {
  // At the very rim the relief has no slope any more; the last one inside stands in for it.
  const float reach = length(f.x * jaw(f.y), f.y);
  const float inward = std::min(1.0f, 0.975f / std::max(reach, 0.01f));
  f = {f.x * inward, f.y * inward};
  constexpr float kStep = 0.012f;
  const float along_x = face_relief({f.x + kStep, f.y}) - face_relief({f.x - kStep, f.y});
  const float along_y = face_relief({f.x, f.y + kStep}) - face_relief({f.x, f.y - kStep});
  return normalized({-along_x, -along_y / kHeadHeight, 2.0f * kStep});
}

Color face_albedo(const Sitter& sitter, Point f) {
  const float side = std::fabs(f.x);
  const float blood = 0.5f * bell(side - 0.48f, 0.22f) * bell(f.y - 0.22f, 0.16f) +
                      0.35f * bell(f.x, 0.14f) * bell(f.y - 0.18f, 0.10f);
  const float mouth_y = f.y + kSmile * f.x * f.x;
  const float bow = 0.465f - 0.015f * bell(f.x, 0.05f);
  const float lips = bell(f.x, 0.23f) * smooth_step(bow - 0.055f, bow - 0.015f, mouth_y) *
                     (1.0f - smooth_step(0.58f, 0.63f, mouth_y));
  const float slit = 0.5f * bell(mouth_y - 0.513f, 0.011f) * bell(f.x, 0.26f);
  const float brow_line = -0.285f + 0.9f * (side - 0.36f) * (side - 0.36f);
  const float brow = 0.8f * bell(f.y - brow_line, 0.026f) * smooth_step(0.15f, 0.22f, side) *
                     (1.0f - smooth_step(0.50f, 0.60f, side));
  const float lash_line = -0.050f - 1.1f * (side - 0.36f) * (side - 0.36f);
  const float lashes = 0.9f * bell(f.y - lash_line, 0.013f) * smooth_step(0.20f, 0.24f, side) *
                       (1.0f - smooth_step(0.48f, 0.54f, side));
  Color color = mix(sitter.skin, sitter.skin * Color{1.02f, 0.72f, 0.68f}, blood);
  color = mix(color, sitter.lips, 0.85f * lips) * (1.0f - slit);
  const float pores = 1.0f + 0.03f * noise(f.x * 60.0f, f.y * 75.0f, 91);
  return mix(color * pores, sitter.hair, std::max(brow, lashes));
}

Color lit(const Sitter& sitter, Point p, Vec3 normal, Color albedo, float sheen, float gloss) {
  const Vec3 here = {p.x, p.y, sitter.distance_from_wall + 60.0f};
  return albedo * light_on(here, normal) + sheen_on(here, normal, gloss) * sheen;
}

float head_outline(const Sitter& sitter, Point p) {
  const Point f = on_face(sitter, p);
  return ellipse({f.x * jaw(f.y), f.y}, {0.0f, 0.0f}, 1.0f, 1.0f) * sitter.size;
}

// Long hair in strands that run down and round the head, short hair in curls.
float hair_texture(const Sitter& sitter, Point f) {
  if (!sitter.bun) return 1.6f * cloud(f.x * 11.0f, f.y * 14.0f, 3, 94);
  const float across = f.x / std::sqrt(std::max(0.1f, 1.7f - f.y * f.y * 0.5f));
  return noise(across * 26.0f, f.y * 1.5f, 95) + 0.5f * noise(across * 61.0f, f.y * 2.0f, 96);
}

Color hair_color(const Sitter& sitter, Point p, Point f) {
  const float texture = hair_texture(sitter, f);
  const float across = clamp01(std::fabs(f.x) / 1.15f);
  const Vec3 normal = normalized({f.x * 0.9f + 0.10f * texture, 0.75f * f.y + 0.10f * texture,
                                  std::sqrt(std::max(0.04f, 1.05f - across * across))});
  const Color albedo = sitter.hair * (1.0f + 0.45f * texture);
  return lit(sitter, p, normal, albedo, 0.022f * (1.0f + 0.8f * texture), 14.0f);
}

void paint_hair_behind(Picture& canvas, const Sitter& sitter) {
  const Point h = sitter.head;
  const float s = sitter.size;
  fill(
      canvas, around(h, 2.2f * s, 2.6f * s),
      [&](Point p) {
        const float cap = ellipse(p, {h.x, h.y - 0.22f * s}, 1.10f * s, 1.28f * s);
        if (!sitter.bun) return cap;
        return std::min(cap, ellipse(p, {h.x, h.y - 1.62f * s}, 0.46f * s, 0.38f * s));
      },
      [&](Point p) { return hair_color(sitter, p, on_face(sitter, p)); }, 3.0f);
}

void paint_ears(Picture& canvas, const Sitter& sitter) {
  for (const float side : {-1.0f, 1.0f}) {
    const Point ear = {sitter.head.x + side * 0.985f * sitter.size,
                       sitter.head.y + 0.06f * sitter.size};
    const float rx = 0.13f * sitter.size, ry = 0.27f * sitter.size;
    fill(
        canvas, around(ear, rx + 2.0f, ry + 2.0f), [&](Point p) { return ellipse(p, ear, rx, ry); },
        [&](Point p) {
          const float u = (p.x - ear.x) / rx, v = (p.y - ear.y) / ry;
          const float bowl = 1.0f - 0.45f * bell(u - 0.1f * side, 0.45f) * bell(v, 0.6f);
          const Vec3 normal = normalized({0.5f * side + 0.4f * u, 0.3f * v, 0.7f});
          return lit(sitter, p, normal, sitter.skin * bowl * Color{1.0f, 0.88f, 0.85f}, 0.0f, 1.0f);
        });
  }
}

void paint_neck(Picture& canvas, const Sitter& sitter) {
  const Point h = sitter.head;
  const float s = sitter.size;
  fill(
      canvas, around({h.x, h.y + 1.5f * s}, 1.2f * s, 0.9f * s),
      [&](Point p) {
        const float waist = 0.47f * s + 0.12f * s * smooth_step(1.3f * s, 1.9f * s, p.y - h.y);
        return std::max(std::fabs(p.x - h.x) - waist, p.y - h.y - 2.1f * s);
      },
      [&](Point p) {
        const float across = (p.x - h.x) / (0.58f * s);
        const Vec3 normal =
            normalized({across, 0.25f, std::sqrt(std::max(0.02f, 1.0f - across * across))});
        const float under_chin = mix(0.28f, 1.0f, smooth_step(1.15f * s, 1.75f * s, p.y - h.y));
        return lit(sitter, p, normal, sitter.skin * under_chin, 0.0f, 1.0f);
      });
}

void paint_jumper(Picture& canvas, const Sitter& sitter) {
  const Point h = sitter.head;
  const float s = sitter.size;
  const float shoulder = h.y + 1.86f * s;
  const auto outline = [&](Point p) {
    const float body = ellipse(p, {h.x, shoulder + 2.1f * s}, 2.05f * s, 2.2f * s);
    const float collar = ellipse(p, {h.x, shoulder + 0.05f * s}, 0.74f * s, 0.40f * s);
    return blended(body, collar, 0.3f * s);
  };
  fill(canvas, {h.x - 2.2f * s, h.y + s, h.x + 2.2f * s, kTableEdge + 2.0f}, outline, [&](Point p) {
    const float across = (p.x - h.x) / (2.1f * s), down = (p.y - shoulder - 1.9f * s) / (2.3f * s);
    const float folds = 0.35f * cloud(p.x * 0.012f, p.y * 0.006f, 3, 97);
    const float stitch = knit(p.x + 3.0f * folds, p.y, 9.0f);
    const Vec3 normal =
        normalized({across + folds * 0.5f, down + 0.12f * stitch,
                    std::sqrt(std::max(0.06f, 1.0f - across * across - down * down))});
    const float sleeves = 1.0f - 0.45f * bell(std::fabs(across) - 0.62f - 0.1f * down, 0.035f) *
                                     smooth_step(-0.55f, -0.1f, down);
    const float arm = 0.8f + 0.2f * smooth_step(0.9f, 0.2f, down);
    return lit(sitter, p, normal, sitter.wool * ((1.0f + 0.30f * stitch) * sleeves * arm), 0.0f,
               1.0f);
  });
}

void paint_face(Picture& canvas, const Sitter& sitter) {
  const Area area = around(sitter.head, 1.1f * sitter.size, 1.5f * sitter.size);
  fill(
      canvas, area, [&](Point p) { return head_outline(sitter, p); },
      [&](Point p) {
        const Point f = on_face(sitter, p);
        const float hollow = 1.0f - 0.30f * bell(f.y - 0.33f, 0.05f) * bell(f.x, 0.16f) -
                             0.22f * bell(std::fabs(f.x) - 0.30f, 0.18f) * bell(f.y + 0.17f, 0.06f);
        return lit(sitter, p, face_normal(f), face_albedo(sitter, f) * hollow, 0.020f, 14.0f);
      },
      1.5f);
}

void paint_hair_in_front(Picture& canvas, const Sitter& sitter) {
  fill(
      canvas, around(sitter.head, 1.15f * sitter.size, 1.5f * sitter.size),
      [&](Point p) {
        const Point f = on_face(sitter, p);
        const float parting = sitter.bun ? 0.12f : 0.0f;
        const float line =
            -0.66f + 0.75f * (f.x - parting) * (f.x - parting) * (sitter.bun ? 1.0f : 0.62f);
        const float waves = 0.007f * noise(f.x * 14.0f, 0.0f, 98);
        return std::max(head_outline(sitter, p) - 4.0f, (f.y - line - waves) * sitter.size);
      },
      [&](Point p) { return hair_color(sitter, p, on_face(sitter, p)); }, 3.0f);
}

void paint_sitter(Picture& canvas, const Sitter& sitter) {
  paint_hair_behind(canvas, sitter);
  paint_neck(canvas, sitter);
  paint_jumper(canvas, sitter);
  paint_ears(canvas, sitter);
  paint_face(canvas, sitter);
  paint_hair_in_front(canvas, sitter);
}

}  // namespace

void paint_sitters(Picture& canvas) {
  paint_sitter(canvas, kLeft);
  paint_sitter(canvas, kRight);
}

}  // namespace morva::host::scene
