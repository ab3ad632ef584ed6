// What stands before the pixels of a picture file.
#pragma once

#include <cstdint>

#include "input/exif.h"

namespace morva {

struct PictureHeader {
  std::uint64_t w = 0;  // pixels, as stored; claims of the file, not yet held against any limit
  std::uint64_t h = 0;
  Metadata metadata;
};

// A file is a chain of segments or chunks. Writers of real files come to a few thousand; a hostile
// one may hold millions, and a reader of headers stops here.
inline constexpr int kMaxSegments = 1 << 16;

}  // namespace morva
