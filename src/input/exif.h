// What a camera wrote into a picture file, and the reader of the EXIF block that JPEG, PNG and WebP
// carry. A block is never trusted and never fails a picture: what cannot be read stays unknown.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace morva {

// Unknown values are zero or empty.
struct Metadata {
  std::int32_t orientation = 0;  // 1..8 as stored; other values mean nothing
  std::string maker;
  std::string model;
  std::string lens;
  std::string
      taken;  // when the picture was taken, "YYYY:MM:DD HH:MM:SS" or anything the file holds
  std::string digitised;  // when it became digital: the scanner's date, or the camera's own again
  double focal_mm = 0.0;
  double f_number = 0.0;
  double exposure_s = 0.0;
  double iso = 0.0;
};

// The camera's block is a few kilobytes, tens with a maker's own notes; a longer one is not read.
inline constexpr std::uint64_t kMaxExifBytes = std::uint64_t{1} << 24;

// Reads a block that begins with a TIFF header, with or without the "Exif" signature of JPEG before
// it.
Metadata read_exif(std::span<const std::uint8_t> block);

// A text of a file up to its first NUL, without the blanks around it. The standard's text is 7-bit;
// every other byte becomes '?', so that the result is UTF-8 whatever the file holds.
std::string plain_text(std::string_view raw);

// A number of a file, or 0 for one that is no positive finite number.
double known_number(double value);

}  // namespace morva
