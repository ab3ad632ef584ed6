// PNG in all its colour types and depths, interlaced or not.
#pragma once

#include <cstdint>
#include <span>

#include "input/byte_source.h"
#include "input/picture_header.h"
#include "input/pixels8.h"

namespace morva {

// Size from the first chunk, camera data from the eXIf chunk, wherever it stands. Throws as
// read_picture_header.
PictureHeader read_png_header(const ByteSource& source);

// Throws as decode_picture.
Pixels8 decode_png(std::span<const std::uint8_t> file, PixelForm form);

}  // namespace morva
