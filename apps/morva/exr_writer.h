// EXR: linear 32-bit floats R, G, B with Rec. 709 chromaticities, losslessly packed.
#pragma once

#include <filesystem>

#include "picture.h"

namespace morva::host {

void write_exr(const Picture& picture, const std::filesystem::path& file);

}  // namespace morva::host
