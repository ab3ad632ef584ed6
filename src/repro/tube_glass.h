// What the tube itself does to the picture on its face: the screen's rounded outline, the wires
// that hold a grille of stripes, and the bulge of the glass.
#pragma once

#include "image/image.h"

namespace morva {

// The part of the screen that is seen lies about its middle; `zoom` is how many times the screen is
// as large.
struct ScreenShade {
  double zoom = 1.0;
  double vignette = 0.0;       // light lost at the screen's corners
  double corner_radius = 0.0;  // of the screen's height; 0.5 is fully round
};

// In place.
void shade_screen(Image& picture, const ScreenShade& shade);

struct DampingWires {
  double zoom = 1.0;
  double count = 0.0;  // across the whole screen, evenly
  double sigma_px = 0.0;
  double depth = 0.55;
};

// In place. Wires thinner than a quarter of a pixel show nothing.
void cast_wires(Image& picture, const DampingWires& wires);

struct GlassBulge {
  double bulge = 0.0;
  bool sphere = true;  // else a cylinder that stands upright
};

// The middle comes nearer, the corners of a sphere and the sides of a cylinder stay. A glass that
// sinks instead shows the dark around it.
Image bulge_glass(Image picture, const GlassBulge& glass);

}  // namespace morva
