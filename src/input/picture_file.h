// Ordinary picture files: JPEG, PNG, TIFF, WebP and HEIF, each recognised by its first bytes
// whatever its name.
#pragma once

#include <cstdint>
#include <span>

#include "input/byte_source.h"
#include "input/orientation.h"
#include "input/picture_header.h"
#include "input/pixels8.h"

namespace morva {

// Reads the header of the file's first picture and leaves its pixels alone. Throws the imaging
// errors "unknown format" at "decoder" and "bad header" or "frame missing" at "frame"; of a HEIF,
// which is read by a library of its own, std::runtime_error "libheif: " and that library's words.
PictureHeader read_picture_header(const ByteSource& source);

// Decodes the file's first picture to 8-bit sRGB: grey spreads to three channels, palettes and CMYK
// are converted, 16 bits are rounded to 8. Throws the imaging errors above, "unsupported pixel
// format" at "convert", "value overflow" at "size" for more than kMaxPixels, and "bad image" at
// "pixels" for a file that is cut off or corrupted; of a HEIF as above.
Pixels8 decode_picture(std::span<const std::uint8_t> file, PixelForm form);

// What turns the file's first picture upright, when its header tells of a size that decode_picture
// takes. Throws as both of the above.
Turn turn_of_decodable(const ByteSource& source);

}  // namespace morva
