#include "input/preview.h"

#include "input/byte_source.h"
#include "input/picture_file.h"

namespace morva {

Pixels8 decode_preview(std::span<const std::uint8_t> file) {
  const Turn turn = turn_of_decodable(memory_source(file));
  return turned(decode_picture(file, PixelForm::kBgra), turn);
}

}  // namespace morva
