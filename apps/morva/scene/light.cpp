#include "scene/light.h"

namespace morva::host::scene {
namespace {

struct Source {
  Vec3 at;
  Color color;
  float reach_px;  // where it lights a surface square to it to 1
  float wrap;      // how far a broad source lights round the edge, as a cosine
};

constexpr Source kSources[] = {
    {{250.0f, 210.0f, 260.0f}, kWindowColor, 235.0f, 0.25f},
    {{330.0f, 370.0f, 260.0f}, kWindowColor, 235.0f, 0.25f},
    {{300.0f, 540.0f, 260.0f}, kWindowColor, 235.0f, 0.25f},
    {{kLampBulb.x, kLampBulb.y, 190.0f}, kLampColor, 340.0f, 0.30f},
    {{kBareBulb.x, kBareBulb.y, 330.0f}, kLampColor, 225.0f, 0.05f},
    // The unseen half of the room behind the viewer.
    {{860.0f, 800.0f, 1200.0f}, {1.0f, 0.90f, 0.78f}, 480.0f, 0.60f},
};

constexpr float kLampFromWall = 150.0f;
constexpr float kOpeningAbove = 0.62f;  // tangents of the shade's openings against the vertical
constexpr float kOpeningBelow = 1.15f;

}  // namespace

Color light_on(Vec3 p, Vec3 normal) {
  Color sum = ambient_at(p.x, p.y);
  for (const Source& source : kSources) {
    const Vec3 way = source.at - p;
    const float squared = dot(way, way) + 900.0f;  // no source is a point
    const float cosine = dot(way, normal) / std::sqrt(squared);
    const float facing = std::max(0.0f, (cosine + source.wrap) / (1.0f + source.wrap));
    sum = sum + source.color * (facing * source.reach_px * source.reach_px / squared);
  }
  return sum;
}

Color ambient_at(float x, float y) {
  const float day = 0.055f * std::exp(-x / 620.0f);
  const float evening = 0.010f * bell(x - kLampBulb.x, 520.0f) * bell(y - 500.0f, 900.0f);
  return kWindowColor * (day + 0.0025f) + kLampColor * evening;
}

Color lamp_on_wall(Point p) {
  const float dx = p.x - kLampBulb.x, dy = p.y - kLampBulb.y;
  const float sideways = std::sqrt(dx * dx + kLampFromWall * kLampFromWall);
  const float opening = dy < 0.0f ? kOpeningAbove : kOpeningBelow;
  const float inside = std::fabs(dy) * opening - sideways;
  const float soft = 16.0f + 0.06f * sideways;
  const float distance = std::sqrt(sideways * sideways + dy * dy);
  const float direct = 2.9e6f / (distance * distance * distance) * 12.0f;
  const float glow = 0.20f * bell(dx, 330.0f) * bell(dy + 60.0f, 260.0f);
  return kLampColor * (direct * smooth_step(-soft, soft, inside) + glow);
}

Color sheen_on(Vec3 p, Vec3 normal, float gloss) {
  Color sum{0.0f, 0.0f, 0.0f};
  for (const Source& source : kSources) {
    if (source.at.z > 1000.0f) continue;  // too broad to have an image
    const Vec3 to_light = normalized(source.at - p);
    const Vec3 halfway = normalized(to_light + Vec3{0.0f, 0.0f, 1.0f});
    const float mirror = std::pow(std::max(dot(halfway, normal), 0.0f), gloss);
    sum = sum + source.color * mirror;
  }
  return sum;
}

}  // namespace morva::host::scene
