// What a picture file tells of itself without its pixels being decoded.
#pragma once

#include <string>

#include "morva.h"

namespace morva {

// Zero-fills `info`, then fills in what the file at the UTF-8 path holds: the size as the picture
// stands upright, camera (maker and model), lens, exposure and date. Texts are cut at their field's
// size. Throws as load_linear.
void read_info(const std::string& path, MorvaImageInfo& info);

}  // namespace morva
