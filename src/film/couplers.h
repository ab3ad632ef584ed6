// Chemistry between the layers of a colour negative.
#pragma once

#include <array>
#include <optional>

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// Mean of a pixel's three layers: summed in single precision, divided in double.
inline float layer_mean(const float* p) {
  return static_cast<float>((p[0] + p[1] + p[2]) / 3.0);
}

// The film's coupler matrix, in row order: `couplers.matrix`, or, when that is absent and option
// `interlayer` is on, `couplers.matrix_ds`. Throws ProfileError when it does not hold nine numbers.
std::optional<std::array<float, 9>> coupler_matrix(const Json& film, const Json& options);

// Acts on the colour difference of every pixel's density: by the matrix, or else by a positive
// `saturation`. The mean of the three layers is untouched, so neutrals stay neutral. In place.
void apply_couplers(Image& density, const std::optional<std::array<float, 9>>& matrix,
                    double saturation);

}  // namespace morva
