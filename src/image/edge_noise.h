// The wander of an edge cut, filed or brushed by hand: a line of smooth noise along it.
#pragma once

#include <cstddef>
#include <vector>

#include "image/random.h"

namespace morva {

// `n` values of zero mean and unit variance, smooth over `sigma` of them: white Gaussian noise
// under a mirrored Gaussian. Draws exactly n normals of `rng`, whatever sigma is. A sigma longer
// than the line, or one that is no number, is taken as the line's length; a single value has no
// wander and is 0.
std::vector<float> noise_line(Rng& rng, std::size_t n, double sigma);

}  // namespace morva
