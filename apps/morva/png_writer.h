// PNG, 8 or 16 bits a channel, sRGB-encoded, with its ICC profile.
#pragma once

#include <filesystem>

#include "picture_writer.h"

namespace morva::host {

void write_png(const Picture& picture, SampleType samples, const PictureNotes& notes,
               const std::filesystem::path& file);

}  // namespace morva::host
