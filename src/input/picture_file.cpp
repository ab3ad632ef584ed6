#include "input/picture_file.h"

#include <string_view>

#include "input/heif_decoder.h"
#include "input/imaging_error.h"
#include "input/jpeg_decoder.h"
#include "input/png_decoder.h"
#include "input/tiff_decoder.h"
#include "input/webp_decoder.h"

namespace morva {
namespace {

enum class PictureFormat { kJpeg, kPng, kTiff, kWebp, kHeif };

PictureFormat sniff(const ByteSource& source) {
  using namespace std::string_view_literals;
  char start[16] = {};
  const std::string_view magic(start, source.read(0, start, sizeof start));
  if (magic.starts_with("\xFF\xD8\xFF"sv)) {
    return PictureFormat::kJpeg;
  }
  if (magic.starts_with("\x89PNG\r\n\x1A\n"sv)) {
    return PictureFormat::kPng;
  }
  // The version after the byte order is 42 for TIFF, 43 for its form with 64-bit offsets.
  for (const std::string_view tiff : {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv}) {
    if (magic.starts_with(tiff)) {
      return PictureFormat::kTiff;
    }
  }
  if (magic.starts_with("RIFF"sv) && magic.size() >= 12 && magic.substr(8, 4) == "WEBP"sv) {
    return PictureFormat::kWebp;
  }
  if (is_heif(magic)) {
    return PictureFormat::kHeif;
  }
  fail_imaging(ImagingStep::kDecoder, ImagingCode::kUnknownFormat);
}

}  // namespace

PictureHeader read_picture_header(const ByteSource& source) {
  switch (sniff(source)) {
    case PictureFormat::kJpeg:
      return read_jpeg_header(source);
    case PictureFormat::kPng:
      return read_png_header(source);
    case PictureFormat::kTiff:
      return read_tiff_header(source);
    case PictureFormat::kWebp:
      return read_webp_header(source);
    case PictureFormat::kHeif:
      break;
  }
  return read_heif_header(read_all(source));
}

Pixels8 decode_picture(std::span<const std::uint8_t> file, PixelForm form) {
  switch (sniff(memory_source(file))) {
    case PictureFormat::kJpeg:
      return decode_jpeg(file, form);
    case PictureFormat::kPng:
      return decode_png(file, form);
    case PictureFormat::kTiff:
      return decode_tiff(file, form);
    case PictureFormat::kWebp:
      return decode_webp(file, form);
    case PictureFormat::kHeif:
      break;
  }
  return decode_heif(file, form);
}

Turn turn_of_decodable(const ByteSource& source) {
  const PictureHeader header = read_picture_header(source);
  require_decodable_size(header.w, header.h);
  return turn_of_orientation(header.metadata.orientation);
}

}  // namespace morva
