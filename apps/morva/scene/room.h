// The room itself: wall, window with the view outdoors, a bookshelf in the dark, the table.
#pragma once

#include "picture.h"

namespace morva::host::scene {

inline constexpr float kTableEdge = 860.0f;  // y where the table begins

void paint_wall(Picture& canvas);
void paint_window(Picture& canvas);
void paint_curtain(Picture& canvas);
void paint_bookshelf(Picture& canvas);
void paint_table(Picture& canvas);

}  // namespace morva::host::scene
