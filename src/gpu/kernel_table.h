// The kernels by number: name and compiled code. A kernel is addressed by its row in kernels.inc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace morva::gpu {

// clang-format off
enum class Kernel : std::int32_t {
#define MORVA_KERNEL(name) name,
#include "gpu/kernels.inc"
#undef MORVA_KERNEL
};

inline constexpr std::size_t kKernelCount = 0
#define MORVA_KERNEL(name) + 1
#include "gpu/kernels.inc"
#undef MORVA_KERNEL
    ;
// clang-format on

inline constexpr std::size_t row_of(Kernel kernel) {
  return static_cast<std::size_t>(kernel);
}

// The kernel's name, a text that lives as long as the program.
const char* kernel_name(Kernel kernel);

// The code that the platform makes a pipeline of: SPIR-V words.
std::span<const std::byte> kernel_code(Kernel kernel);

}  // namespace morva::gpu
