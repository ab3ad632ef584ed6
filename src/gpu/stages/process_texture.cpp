#include "gpu/stages/process_texture.h"

#include "gpu/stages/element_launch.h"
#include "gpu/stages/plane.h"

namespace morva::gpu {

void show_in_ink(Device& device, const GImage& ink, const GImage& field, const InkField& how) {
  launch_elements(device, Kernel::alt_texture, pixels(ink), {word(pixels(ink))},
                  {static_cast<float>(how.change()), static_cast<float>(how.specks)},
                  {ink.buffer.get(), field.buffer.get()});
}

}  // namespace morva::gpu
