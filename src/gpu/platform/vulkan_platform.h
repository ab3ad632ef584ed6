// The platform on Vulkan compute: every GPU of the machine, and the CPU device of a driver that
// draws in software.
//
// A device needs Vulkan 1.2, a queue that computes, push descriptors (VK_KHR_push_descriptor) for
// seven storage buffers, 20 KiB of memory shared by a group of 256 threads. A kernel is SPIR-V
// whose entry is `main`, with the table at binding 0 of set 0, buffer n at binding n + 1, the
// sixteen constants at the start of the push constants and the row of the band behind them.
#pragma once

#include <memory>

#include "gpu/platform/platform.h"

namespace morva::gpu::platform {

// The process's own, made at first use and never destroyed. Loads the system's Vulkan loader when
// a factory is first asked for; where there is none, factories have no adapters. Any thread.
Platform& vulkan_platform();

// Another one, on the Vulkan loader of this name.
std::unique_ptr<Platform> make_vulkan_platform(const char* loader_file);

}  // namespace morva::gpu::platform
