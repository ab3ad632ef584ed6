// What the camera's side of the film leaves at the picture's edge: the gate's rounded corners and
// half shadow, the slanting cut of a roll-film gate, the ears of a sheet holder.
#pragma once

#include "finish/rebate_plan.h"
#include "image/image.h"

namespace morva {

// The light that the window lets through at the centre of pixel (y, x) of a picture of h x w: 0 to
// 1.
double window_light(const PictureWindow& window, int h, int w, int y, int x);

// Whether it darkens any pixel at all.
bool darkens_edges(const PictureWindow& window);

// Multiplies every sample of the picture by it, in place. Only the pixels near the edges are
// touched.
void darken_outside_window(Image& picture, const PictureWindow& window);

}  // namespace morva
