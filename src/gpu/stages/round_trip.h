// Stages without a kernel: the picture comes to the CPU, the stage runs there, its result goes
// back.
#pragma once

#include <functional>

#include "gpu/device.h"

namespace morva::gpu {

// Ends the open list and waits for it.
inline GImage on_cpu(Device& device, GImage picture, const std::function<Image(Image)>& stage) {
  Image light = device.download(picture);
  picture.buffer.reset();
  return device.upload(stage(std::move(light)));
}

}  // namespace morva::gpu
