// The inner loops between a picture and its plates, and between plates and the sheet, compiled once
// for each instruction set.
#pragma once

#include <cstddef>

namespace morva::vector {

// What an ink takes out of red, green and blue: 1 less its colour.
struct InkDepth {
  float of[3];
};

// The two steps of the press, each a parabola v + bend * v * (1 - v): the plate is bent down by
// what it has taken off, then its dots grow.
struct PressCurve {
  float taken_off;
  float growth;
};

struct SeparationOrder {
  InkDepth depth[4];  // above 0; cyan, magenta, yellow, black
  float gcr;
  float tac;  // 0: no limit
  PressCurve press;
  int iterations;
};

struct SeparationLoops {
  // Plates of n pixels of interleaved RGB.
  void (*separate)(const float* rgb, std::size_t n, const SeparationOrder& order,
                   float* const* planes);

  // What lands of n plate values, and the plate values that land as n coverages, in place.
  void (*press)(float* values, std::size_t n, const PressCurve& curve);
  void (*plate_values)(float* values, std::size_t n, const PressCurve& curve);

  // Interleaved RGB of n pixels of a sheet `base` under `count` planes of ink, in their order.
  void (*overprint)(const float* const* planes, const InkDepth* depth, int count, const float* base,
                    std::size_t n, float* rgb);

  // n pixels of a sheet, in place, whose bare paper has the light `bare`: the deeper the ink, the
  // more of `field` shows.
  void (*mottle)(float* rgb, std::size_t n, const float* field, float amount, float bare);
};

// The table of the instruction set in use.
const SeparationLoops& separation_loops();

namespace baseline {
const SeparationLoops& separation_loops();
}
namespace avx2 {
const SeparationLoops& separation_loops();
}
namespace avx512 {
const SeparationLoops& separation_loops();
}

}  // namespace morva::vector
