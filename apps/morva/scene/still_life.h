// What stands on the table: a plant, a white vase, fruit, a black ball, a folded cloth.
#pragma once

#include "picture.h"

namespace morva::host::scene {

void paint_plant(Picture& canvas);
void paint_vase(Picture& canvas);
void paint_fruit(Picture& canvas);
void paint_black_ball(Picture& canvas);
void paint_cloth(Picture& canvas);

}  // namespace morva::host::scene
