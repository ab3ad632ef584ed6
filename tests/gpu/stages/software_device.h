// The GPU that tests of kernels and stages run on: the software one, or the machine's own where
// MORVA_TEST_GPU is "hardware". There is one for the whole program, since making its pipelines
// costs seconds. The validation layers watch it; what they say fails the program.
#pragma once

#include "gpu/device.h"
#include "profiles/store.h"

namespace morva::gpu {

// Made at the first call; fails the test that asks where no Vulkan driver is installed. No budget
// cuts or ends its lists unless a test says so.
Device& software_device();

// The profiles of the tree.
const ProfileStore& tree();

// What a stage of the GPU makes of a picture with whatever else it takes.
template <class Stage, class... More>
Image on_software_device(const Image& picture, Stage stage, More&&... more) {
  Device& device = software_device();
  return device.download(stage(device, device.upload(picture), more...));
}

}  // namespace morva::gpu
