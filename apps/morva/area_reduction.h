// A picture made smaller by the mean over each new pixel's area. Light only adds up, so that a lamp
// a thousand times as bright as its surroundings draws no rings, as a sharper kernel would.
#pragma once

#include "picture.h"

namespace morva::host {

// `size` is at most the picture's own.
Picture reduced_by_area(const Picture& picture, PixelSize size);

}  // namespace morva::host
