// Surfaces: noise without a table, and the weaves and grains made of it. Values are about 0.
#pragma once

#include <cstdint>

#include "scene/vectors.h"

namespace morva::host::scene {

// One value in 0..1 for each pair of integers and kind.
float hash01(int x, int y, uint32_t kind);

// Smooth noise in -1..1 that changes over about a unit.
float noise(float x, float y, uint32_t kind);

// Noise of several octaves, each half as large and half as strong; about -1..1.
float cloud(float x, float y, int octaves, uint32_t kind);

// Plain weave of threads `pitch` pixels apart: -1 in the gaps, 1 on the crowns.
float weave(float x, float y, float pitch);

// Rows of knitted loops `pitch` pixels apart, likewise.
float knit(float x, float y, float pitch);

// Long-grained wood: dark lines about every unit of y, wavering along x.
float wood(float x, float y, uint32_t kind);

}  // namespace morva::host::scene
