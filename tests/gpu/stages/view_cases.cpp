#include "gpu/stages/kernel_case.h"

namespace morva::gpu {

std::vector<KernelCase> view_cases() {
  return {};
}

}  // namespace morva::gpu
