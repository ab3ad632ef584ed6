// The light in the room: a window on the left, a lamp on the table, a bare bulb under the ceiling,
// and what the rest of the room throws back. Each falls off with the square of the distance;
// surfaces are shaded by what reaches them.
#pragma once

#include "scene/vectors.h"

namespace morva::host::scene {

inline constexpr Point kLampBulb = {1340.0f, 566.0f};
inline constexpr Point kBareBulb = {868.0f, 150.0f};
inline constexpr float kLampValue = 30.0f;  // of a glowing wire, where white paper is about 1

inline constexpr Color kLampColor = {1.0f, 0.70f, 0.40f};     // about 2900 K against daylight
inline constexpr Color kWindowColor = {0.88f, 0.97f, 1.14f};  // an overcast evening sky

// Light on a surface at `p` that faces along the unit vector `normal`; 1 lights white paper to 1.
Color light_on(Vec3 p, Vec3 normal);

// What reaches every corner, from the walls.
Color ambient_at(float x, float y);

// The lamp's part of the light on the wall, cut by the shade to a bow above and one below.
Color lamp_on_wall(Point p);

// The sheen of a smooth surface: images of the sources, the smaller the higher `gloss`.
Color sheen_on(Vec3 p, Vec3 normal, float gloss);

}  // namespace morva::host::scene
