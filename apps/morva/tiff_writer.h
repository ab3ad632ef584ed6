// TIFF: 8 or 16 bits sRGB-encoded, or 32-bit linear floats, deflated, with an ICC profile to match.
#pragma once

#include <filesystem>

#include "picture_writer.h"

namespace morva::host {

void write_tiff(const Picture& picture, SampleType samples, const PictureNotes& notes,
                const std::filesystem::path& file);

}  // namespace morva::host
