// Two people behind the table, eyes closed: skin in the light of the window and of the lamp.
#pragma once

#include "picture.h"

namespace morva::host::scene {

void paint_sitters(Picture& canvas);

}  // namespace morva::host::scene
