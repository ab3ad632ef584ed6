#include "input/load_linear.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "image/growing_image.h"
#include "input/byte_source.h"
#include "input/heif_decoder.h"
#include "input/picture_file.h"
#include "input/raw_decoder.h"
#include "input/srgb_table.h"

namespace morva {
namespace {

constexpr std::string_view kRawExtensions[] = {"dng", "nef", "cr2", "cr3", "arw", "raf",
                                               "orf", "rw2", "pef", "srw", "iiq", "3fr"};
constexpr std::string_view kHeifExtensions[] = {"heic", "heif", "hif"};

std::string extension_of(const std::string& path) {
  const std::size_t folder = path.find_last_of("/\\");
  const std::size_t point = path.rfind('.');
  if (point == std::string::npos || (folder != std::string::npos && point < folder)) {
    return {};
  }
  std::string extension = path.substr(point + 1);
  std::ranges::transform(extension, extension.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return extension;
}

Image linear_light(const Pixels8& pixels) {
  const std::array<float, 256>& table = srgb_to_linear_table();
  Image image = reserve_image(pixels.h, pixels.w, 3);
  const std::size_t n = pixels.row_samples();
  const std::uint8_t* code = pixels.data.get();
  for (std::int32_t y = 0; y < pixels.h; ++y, code += n) {
    std::transform(code, code + n, add_rows(image, 1),
                   [&table](std::uint8_t c) { return table[c]; });
  }
  return image;
}

// Only a file that proves to be a picture of a bearable size is read whole. It is turned while it
// still has 8 bits: a quarter of the memory of the linear picture. The file itself is gone before
// that picture is made.
Pixels8 load_pixels(const std::string& path) {
  const ByteSource source = file_source(path);
  const Turn turn = turn_of_decodable(source);
  return turned(decode_picture(read_all(source), PixelForm::kRgb), turn);
}

Pixels8 load_heif_pixels(const std::string& path) {
  return decode_heif(read_file(path), PixelForm::kRgb);
}

}  // namespace

FileKind kind_of_file(const std::string& path) {
  const std::string extension = extension_of(path);
  if (std::ranges::find(kRawExtensions, extension) != std::end(kRawExtensions)) {
    return FileKind::kCameraRaw;
  }
  if (std::ranges::find(kHeifExtensions, extension) != std::end(kHeifExtensions)) {
    return FileKind::kHeif;
  }
  return FileKind::kPicture;
}

LoadedPicture load_linear(const std::string& path, const std::string& wb_mode, bool half_size) {
  switch (kind_of_file(path)) {
    case FileKind::kCameraRaw:
      return LoadedPicture{load_raw(path, wb_mode, half_size), true};
    case FileKind::kHeif:
      return LoadedPicture{linear_light(load_heif_pixels(path)), false};
    case FileKind::kPicture:
      break;
  }
  return LoadedPicture{linear_light(load_pixels(path)), false};
}

}  // namespace morva
