// WebP, lossy and lossless; of an animation the first frame.
#pragma once

#include <cstdint>
#include <span>

#include "input/byte_source.h"
#include "input/picture_header.h"
#include "input/pixels8.h"

namespace morva {

// Size of the first frame and camera data from the EXIF chunk. Throws as read_picture_header.
PictureHeader read_webp_header(const ByteSource& source);

// Throws as decode_picture.
Pixels8 decode_webp(std::span<const std::uint8_t> file, PixelForm form);

}  // namespace morva
