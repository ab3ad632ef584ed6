#include "input/image_info.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string_view>

#include "input/byte_source.h"
#include "input/load_linear.h"
#include "input/orientation.h"
#include "input/picture_file.h"
#include "input/raw_decoder.h"

namespace morva {
namespace {

template <std::size_t N>
void copy_cut(std::string_view text, char (&field)[N]) {
  const std::size_t n = std::min(text.size(), N - 1);
  std::copy_n(text.data(), n, field);
  field[n] = '\0';
}

// A file's numbers come in 32 bits and more; the record's fields end at 2^31 - 1.
std::int32_t to_int32(double value) {
  return static_cast<std::int32_t>(
      std::min(std::round(value), static_cast<double>(std::numeric_limits<std::int32_t>::max())));
}

std::string camera_name(const Metadata& metadata) {
  const bool both = !metadata.maker.empty() && !metadata.model.empty();
  return metadata.maker + (both ? " " : "") + metadata.model;
}

// The two digits at `place`.
int two_digits(std::string_view text, std::size_t place) {
  return (text[place] - '0') * 10 + (text[place + 1] - '0');
}

// "YYYY:MM:DD HH:MM:SS" that a calendar and a clock can show. A camera whose clock was never set
// writes blanks or zeros.
bool is_date(std::string_view text) {
  constexpr std::string_view kForm = "0000:00:00 00:00:00";
  const bool formed = std::ranges::equal(text, kForm, [](char c, char form) {
    return form == '0' ? c >= '0' && c <= '9' : c == form;
  });
  if (!formed) {
    return false;
  }
  const int month = two_digits(text, 5);
  const int day = two_digits(text, 8);
  return month >= 1 && month <= 12 && day >= 1 && day <= 31 && two_digits(text, 11) < 24 &&
         two_digits(text, 14) < 60 && two_digits(text, 17) < 60;
}

std::string_view date_taken(const Metadata& metadata) {
  if (is_date(metadata.taken)) {
    return metadata.taken;
  }
  return is_date(metadata.digitised) ? std::string_view(metadata.digitised) : std::string_view();
}

}  // namespace

void read_info(const std::string& path, MorvaImageInfo& info) {
  info = MorvaImageInfo{};
  const bool is_raw = kind_of_file(path) == FileKind::kCameraRaw;
  const PictureHeader header =
      is_raw ? read_raw_header(path) : read_picture_header(file_source(path));
  const Metadata& metadata = header.metadata;
  const bool swapped = turn_of_orientation(metadata.orientation).swaps_sides();
  info.width = to_int32(static_cast<double>(swapped ? header.h : header.w));
  info.height = to_int32(static_cast<double>(swapped ? header.w : header.h));
  info.is_raw = is_raw;
  copy_cut(camera_name(metadata), info.camera);
  copy_cut(metadata.lens, info.lens);
  info.focal_mm = metadata.focal_mm;
  info.f_number = metadata.f_number;
  info.exposure_s = metadata.exposure_s;
  info.iso = to_int32(metadata.iso);
  copy_cut(date_taken(metadata), info.date);
}

}  // namespace morva
