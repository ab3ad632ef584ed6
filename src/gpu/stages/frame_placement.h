// Where the picture lies: on its piece of film before the exposure, within its mask on the print,
// and inside the border of its sheet. All pictures have three channels.
#pragma once

#include <array>

#include "finish/rebate_plan.h"
#include "gpu/device.h"

namespace morva::gpu {

// The picture on the canvas of the plan, darkened at the edges of its window; the picture itself
// where the plan has no canvas. The canvas's mask is rebate_mask() of finish/rebate.h.
GImage place_on_film(Device& device, const GImage& picture, const RebatePlan& plan);

// The paper's colour over what lies outside the mask, in place.
void lay_base_outside(Device& device, const GImage& print, const GImage& mask,
                      const std::array<float, 3>& base);

// A border of `border` (fraction of the long side) in the colour `rgb`; the picture itself when it
// is not positive.
GImage pad_border(Device& device, const GImage& picture, double border,
                  const std::array<float, 3>& rgb);

}  // namespace morva::gpu
