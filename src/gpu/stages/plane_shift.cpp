#include "gpu/stages/plane_shift.h"

#include "gpu/stages/element_launch.h"
#include "gpu/stages/plane.h"

namespace morva::gpu {

GImage shifted_plane(Device& device, const GImage& plane, std::int32_t down, std::int32_t right) {
  GImage moved = device.image(plane.height, plane.width, 1);
  launch_elements(device, Kernel::alt_shift, pixels(plane),
                  {word(plane.height), word(plane.width), word(down), word(right)}, {},
                  {plane.buffer.get(), moved.buffer.get()});
  return moved;
}

}  // namespace morva::gpu
