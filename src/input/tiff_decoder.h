// TIFF in its usual forms: bilevel, grey, palette, RGB, YCbCr, CMYK and Lab in strips or tiles,
// whichever compressions the library carries, and RGB or grey in floats.
#pragma once

#include <cstdint>
#include <span>

#include "input/byte_source.h"
#include "input/picture_header.h"
#include "input/pixels8.h"

namespace morva {

// Size and camera data from the first directory and the EXIF directory it points to. Throws as
// read_picture_header.
PictureHeader read_tiff_header(const ByteSource& source);

// The rows as they are stored: the orientation tag is left to the caller, as with the other
// formats. Float samples are taken as linear light and clipped to 0..1. Throws as decode_picture.
Pixels8 decode_tiff(std::span<const std::uint8_t> file, PixelForm form);

}  // namespace morva
