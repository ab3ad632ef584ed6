// EXR: linear 32-bit floats R, G, B with Rec. 709 chromaticities, losslessly packed. `setting`,
// when not empty, tells how the picture was rendered.
#pragma once

#include <filesystem>
#include <string>

#include "picture.h"

namespace morva::host {

void write_exr(const Picture& picture, const std::string& setting,
               const std::filesystem::path& file);

}  // namespace morva::host
