// The GPU that tests of kernels and stages run on: the software one, or the machine's own where
// MORVA_TEST_GPU is "hardware". There is one for the whole program, since making its pipelines
// costs seconds. The validation layers watch it; what they say fails the program.
#pragma once

#include "gpu/device.h"

namespace morva::gpu {

// Made at the first call; fails the test that asks where no Vulkan driver is installed. No budget
// cuts or ends its lists unless a test says so.
Device& software_device();

}  // namespace morva::gpu
