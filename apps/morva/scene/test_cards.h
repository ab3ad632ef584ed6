// Two printed cards for the photographer: 24 colours with their greys, and fans of lines. They are
// painted with fixed values and not shaded, so that a patch can be measured.
#pragma once

#include "picture.h"

namespace morva::host::scene {

void paint_colour_card(Picture& canvas);
void paint_line_card(Picture& canvas);

}  // namespace morva::host::scene
