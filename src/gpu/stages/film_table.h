// The pieces that the tables of the film and print kernels are made of, each laid where
// kernels/film_layout.h has it. `at`: the first float of the piece.
#pragma once

#include <array>

#include "film/look.h"
#include "profiles/hd_curve.h"

namespace morva::gpu {

void put_curve(float* at, const HdCurve& curve);
void put_curves(float* at, const std::array<HdCurve, 3>& curves);
void put_black_end(float* at, const HdCurve& curve);
void put_white_end(float* at, const HdCurve& curve);
void put_look(float* at, const LookParams& look);

template <std::size_t n>
void put(float* at, const std::array<float, n>& numbers) {
  for (std::size_t i = 0; i < n; ++i) at[i] = numbers[i];
}

}  // namespace morva::gpu
