#include "input/preview.h"

#include "input/byte_source.h"
#include "input/orientation.h"
#include "input/picture_file.h"

namespace morva {

Pixels8 decode_preview(std::span<const std::uint8_t> file) {
  const PictureHeader header = read_picture_header(memory_source(file));
  require_decodable_size(header.w, header.h);
  return turned(decode_picture(file, PixelForm::kBgra),
                turn_of_orientation(header.metadata.orientation));
}

}  // namespace morva
