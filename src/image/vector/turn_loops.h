// The inner loop of a picture turned by any angle, compiled once for each instruction set.
#pragma once

#include <cstddef>
#include <cstdint>

namespace morva::vector {

// A picture and its turn: an offset (x, y) from the centre of the turned picture is found at
// (x * cosine + y * sine, y * cosine - x * sine) from the picture's own.
struct TurnedPicture {
  const float* samples;
  std::int32_t h;
  std::int32_t w;
  std::int32_t channels;  // 1..4
  double cosine;
  double sine;
};

struct TurnLoops {
  // n pixels of a row of the turned picture, at the offsets (x, y), (x + 1, y), ... from its
  // centre. Each is a Catmull-Rom cubic (Keys 1981, a = -0.5) of four by four pixels in single
  // precision, down the columns and then across; outside the picture its edge is repeated.
  void (*turned_row)(const TurnedPicture& picture, double x, double y, float* out, std::size_t n);
};

// The table of the instruction set in use.
const TurnLoops& turn_loops();

namespace baseline {
const TurnLoops& turn_loops();
}
namespace avx2 {
const TurnLoops& turn_loops();
}
namespace avx512 {
const TurnLoops& turn_loops();
}

}  // namespace morva::vector
