// The three layers of a colour film on the GPU, from light to density: film/layers.h with what the
// layers do to each other, in one pass.
#pragma once

#include <array>
#include <optional>

#include "film/layers.h"
#include "gpu/device.h"

namespace morva::gpu {

struct LayerDevelopment {
  std::array<HdCurve, 3> curves;
  LayerExposure exposure;
  Development development = Development::negative;
  std::optional<std::array<float, 9>> matrix;  // of the layers' differences, in row order
  std::optional<float> widening;               // factor of the differences where there is no matrix
  double retained_silver = 0.0;
};

// From light in the layers (linear, three channels) to a new picture of their densities, with base
// and fog. `uneven`, a field of uneven development, may be without a buffer. Throws
// std::logic_error when it has another size.
GImage develop_layers(Device& device, const GImage& light, const GImage& uneven,
                      const LayerDevelopment& params);

// Whether there is a field to lay on `density`. Throws as above.
bool lies_on(const GImage& uneven, const GImage& density);

}  // namespace morva::gpu
