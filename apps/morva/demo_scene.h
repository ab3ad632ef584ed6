// The demo scene: a room at dusk, painted by the program, for looking at films without a
// photograph.
#pragma once

#include "picture.h"

namespace morva::host {

// 1800 x 1200, scene-linear, white about 1: lamps stand 30 times above it, the corner behind them
// some thousandths. The same picture every time.
Picture paint_demo_scene();

PixelSize demo_scene_size();

}  // namespace morva::host
