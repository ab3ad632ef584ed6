// One pass of a resize on the GPU: every output is the weighted sum of a run of inputs along one
// axis.
#pragma once

#include <cstdint>
#include <vector>

#include "gpu/device.h"
#include "gpu/stages/plane.h"

namespace morva::gpu {

// The inputs and weights of each output, as the kernels read them: first input and count of each
// output, then room for `room` weights each.
struct Taps {
  Taps(std::int32_t outputs, std::uint32_t most);
  // Of one output, at most `room` weights.
  void set(std::int32_t output, std::int32_t first, const double* weights, std::int32_t count);

  std::uint32_t room;
  std::int32_t n;  // outputs
  std::vector<float> floats;
};

// Along the rows by resample_h, down the columns by resample_v, to the size of `to`, which lies
// elsewhere.
void resample(Device& device, Kernel kernel, const Plane& from, const Plane& to, const Taps& taps);

}  // namespace morva::gpu
