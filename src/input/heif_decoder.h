// HEIF: HEVC and AV1 pictures in the ISO media container. The library is told to decode on the
// caller's thread; its HEVC codec nevertheless keeps a worker of its own for the length of a call.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "input/picture_header.h"
#include "input/pixels8.h"

namespace morva {

// Whether a file that begins with `start` (16 bytes of it) is of this kind.
bool is_heif(std::string_view start);

// Size after the container's own turns and crops, and the camera's data. The container says how the
// picture stands, and the library obeys: the orientation in the EXIF block counts no more and is
// left out. Throws std::runtime_error "libheif: " and the library's words.
PictureHeader read_heif_header(std::span<const std::uint8_t> file);

// The primary picture, upright. Throws std::runtime_error: "libheif: " and the library's words, or
// "libheif: empty image".
Pixels8 decode_heif(std::span<const std::uint8_t> file, PixelForm form);

}  // namespace morva
