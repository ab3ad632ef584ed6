#include "gpu/stages/white_balance.h"

#include "gpu/stages/pixel_ops.h"
#include "optics/white_balance.h"

namespace morva::gpu {

GImage apply_wb(Device& device, GImage picture, const Json& film, const Json& opts) {
  if (const auto gains = wb_gains(film, opts)) multiply_channels(device, picture, *gains);
  return picture;
}

}  // namespace morva::gpu
