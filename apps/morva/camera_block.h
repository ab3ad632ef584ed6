// Camera data as the block that JPEG and PNG carry: a small TIFF with a directory of the picture
// and one of its exposure (EXIF 2.32, 4.5).
#pragma once

#include <cstdint>
#include <vector>

#include "camera_data.h"
#include "picture.h"

namespace morva::host {

// Begins with the TIFF header. Tells that the picture stands upright and is of that size.
std::vector<uint8_t> camera_block(const CameraData& fields, PixelSize size);

}  // namespace morva::host
