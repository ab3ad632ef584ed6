// Pictures turned upright: mirrored left to right and turned by quarter turns.
#pragma once

#include <cstdint>

#include "image/image.h"

namespace morva {

// Mirrored left to right first, then turned clockwise.
struct Turn {
  int quarter_turns = 0;  // 0..3
  bool mirror = false;

  bool identity() const { return quarter_turns == 0 && !mirror; }
  bool swaps_sides() const { return quarter_turns % 2 == 1; }
};

// What brings a picture upright whose camera recorded `orientation`: 1..8 as in EXIF tag 0x0112;
// every other value leaves it as it is.
Turn turn_of_orientation(std::int64_t orientation);

// Clockwise by `degrees`, rounded to the nearest quarter turn; a number that is not finite is none.
Turn turn_of_degrees(double degrees, bool mirror);

// Mirrors `image` left to right when asked, then turns it by turn_of_degrees. Any number of
// channels. Without either the image passes through unchanged and uncopied.
Image mirror_rotate(Image image, double degrees, bool mirror);

// The same on bare samples: `in` holds h * w pixels of `c` samples; `out`, another block of that
// size, receives the turned picture (w rows of h pixels when the turn swaps the sides).
void turn_samples(const float* in, std::int32_t h, std::int32_t w, std::int32_t c, Turn turn,
                  float* out);
void turn_samples(const std::uint8_t* in, std::int32_t h, std::int32_t w, std::int32_t c, Turn turn,
                  std::uint8_t* out);

}  // namespace morva
