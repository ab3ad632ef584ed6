// What glows: the table lamp, the bare bulb, a string of small lights in the dark corner.
#pragma once

#include "picture.h"

namespace morva::host::scene {

void paint_bare_bulb(Picture& canvas);
void paint_table_lamp(Picture& canvas);
void paint_string_of_lights(Picture& canvas);

}  // namespace morva::host::scene
