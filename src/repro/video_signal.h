// The signal that a tube is fed: less than the whole picture, and no finer along a line than its
// bandwidth lets through, colour least of all.
#pragma once

#include "image/image.h"

namespace morva {

// Finest detail along a line, in TV lines: dark and bright ones counted alike.
struct VideoBand {
  double luma_lines = 400.0;
  double chroma_lines = 80.0;
};

// `share` of the picture falls beyond each edge of the screen; what is left fills it.
Image cut_overscan(Image picture, double share);

// In place, on rows of linear RGB that fill the width of the screen.
void limit_bandwidth(Image& signal, const VideoBand& band);

}  // namespace morva
