// TIFF through the library's callbacks: any source of bytes, nothing printed, and no strip or tile
// larger than one of the largest picture.
#pragma once

#include <tiffio.h>

#include <cstdint>
#include <memory>

#include "input/byte_source.h"
#include "input/pixels8.h"

namespace morva {

// One strip or tile of the largest picture, four channels of 16 bits.
constexpr tmsize_t kMaxTiffAllocation = static_cast<tmsize_t>(kMaxPixels * 8);

// The library reads through a file position; a source has none.
struct TiffStream {
  const ByteSource& source;
  std::uint64_t position = 0;
};

struct CloseTiff {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, CloseTiff>;

// Opens the file and its first directory. `stream` must outlive the handle. Throws the imaging
// error "bad header" at "frame".
TiffHandle open_tiff(TiffStream& stream);

}  // namespace morva
