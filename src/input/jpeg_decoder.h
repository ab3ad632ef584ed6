// JPEG, baseline and progressive: grey, YCbCr, RGB, CMYK and YCCK.
#pragma once

#include <cstdint>
#include <span>

#include "input/byte_source.h"
#include "input/picture_header.h"
#include "input/pixels8.h"

namespace morva {

// Each scan of a progressive file costs a pass over the whole picture, and an empty one takes a few
// bytes of the file. Encoders write about ten; a hundred over the largest picture take minutes, and
// more than that only a hostile file asks for.
inline constexpr int kMaxJpegScans = 100;

// Size and EXIF block from the markers before the first scan. Throws as read_picture_header.
PictureHeader read_jpeg_header(const ByteSource& source);

// Throws as decode_picture. A file whose scan data end early or are damaged is a bad image, also
// where the library would fill the rest with grey.
Pixels8 decode_jpeg(std::span<const std::uint8_t> file, PixelForm form);

}  // namespace morva
