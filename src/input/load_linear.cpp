#include "input/load_linear.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "image/errors.h"
#include "image/growing_image.h"
#include "input/byte_source.h"
#include "input/orientation.h"
#include "input/picture_file.h"
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

Pixels8 upright(Pixels8 pixels, Turn turn) {
  if (turn.identity()) {
    return pixels;
  }
  Pixels8 turned =
      turn.swaps_sides()
          ? make_pixels(static_cast<std::uint64_t>(pixels.h), static_cast<std::uint64_t>(pixels.w))
          : make_pixels(static_cast<std::uint64_t>(pixels.w), static_cast<std::uint64_t>(pixels.h));
  turn_samples(pixels.rgb.get(), pixels.h, pixels.w, 3, turn, turned.rgb.get());
  return turned;
}

Image linear_light(const Pixels8& pixels) {
  const std::array<float, 256>& table = srgb_to_linear_table();
  Image image = reserve_image(pixels.h, pixels.w, 3);
  const std::size_t n = pixels.row_samples();
  const std::uint8_t* code = pixels.rgb.get();
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
  const PictureHeader header = read_picture_header(source);
  require_decodable_size(header.w, header.h);
  const std::vector<std::uint8_t> file = read_all(source);
  return upright(decode_picture(file), turn_of_orientation(header.metadata.orientation));
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

void require_picture_file(const std::string& path) {
  switch (kind_of_file(path)) {
    case FileKind::kCameraRaw:
      throw NotPorted("camera raw: " + path);
    case FileKind::kHeif:
      throw NotPorted("HEIF: " + path);
    case FileKind::kPicture:
      return;
  }
}

LoadedPicture load_linear(const std::string& path, const std::string& /*wb_mode*/,
                          bool /*half_size*/) {
  require_picture_file(path);
  return LoadedPicture{linear_light(load_pixels(path)), false};
}

}  // namespace morva
