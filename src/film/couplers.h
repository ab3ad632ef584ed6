// Chemistry between the layers of a colour film: what the bath carries from one layer to another
// moves their colours and leaves their mean, so that neutrals stay neutral.
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

// How the layers hold each other back, in row order. Nothing unless option `interlayer` is on and
// the film has `couplers.matrix_ds`. All that a reversal film has of this: it is in the first,
// black-and-white bath that its layers act on each other, and its colour comes in the second, from
// couplers that mask nothing.
std::optional<std::array<float, 9>> interlayer_matrix(const Json& film, const Json& options);

// The factor by which a saturation widens the layers' differences, nothing where it does not act:
// on dyes it acts from 0.0001 up, either way; as the work of couplers only when positive.
std::optional<float> dye_widening(double saturation);
std::optional<float> coupler_widening(double saturation);

// Purer dyes: every pixel's density above `grey` keeps its mean and has its differences from it
// widened by `saturation`, of which a negative one narrows. In place.
void widen_dyes(Image& density, double saturation, const std::array<float, 3>& grey = {});

// Acts on the colour difference of every pixel's density: by the matrix, or else by a positive
// `saturation`. In place.
void apply_couplers(Image& density, const std::optional<std::array<float, 9>>& matrix,
                    double saturation);

}  // namespace morva
