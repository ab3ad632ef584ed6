#include "gpu/kernel_table.h"

#include <stdint.h>  // the generated arrays name uint32_t without a namespace

#include <array>

namespace morva::gpu {

namespace {

#include "all_kernels.inc"

constexpr std::array<const char*, kKernelCount> kNames = {
#define MORVA_KERNEL(name) #name,
#include "gpu/kernels.inc"
#undef MORVA_KERNEL
};

const std::array<std::span<const std::byte>, kKernelCount> kCodes = {
#define MORVA_KERNEL(name) std::as_bytes(std::span(name##_code)),
#include "gpu/kernels.inc"
#undef MORVA_KERNEL
};

static_assert(kKernelCount == 68);

}  // namespace

const char* kernel_name(Kernel kernel) {
  return kNames[row_of(kernel)];
}

std::span<const std::byte> kernel_code(Kernel kernel) {
  return kCodes[row_of(kernel)];
}

}  // namespace morva::gpu
