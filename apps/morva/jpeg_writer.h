// JPEG, 8 bits, sRGB-encoded, colour at full resolution (4:4:4), with its ICC profile.
#pragma once

#include <filesystem>

#include "picture_writer.h"

namespace morva::host {

void write_jpeg(const Picture& picture, int quality, const PictureNotes& notes,
                const std::filesystem::path& file);

}  // namespace morva::host
