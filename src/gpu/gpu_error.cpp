#include "gpu/gpu_error.h"

#include <cstdio>
#include <stdexcept>

namespace morva::gpu {

LossReason loss_reason(platform::Result result) {
  if (result == platform::kDeviceHung) return kHung;
  if (result == platform::kDeviceReset) return kReset;
  if (result == platform::kDeviceRemoved) return kRemoved;
  if (result == platform::kDriverInternalError) return kDriverError;
  if (result == platform::kOutOfMemory) return kNoMemory;
  return kNoLoss;
}

const char* loss_name(std::uint32_t reason) {
  switch (reason) {
    case kNoLoss:
      return "NONE";
    case kHung:
      return "DEVICE_HUNG";
    case kReset:
      return "DEVICE_RESET";
    case kDriverError:
      return "DRIVER_INTERNAL_ERROR";
    case kNoMemory:
      return "OUT_OF_MEMORY";
    default:
      return "DEVICE_REMOVED";
  }
}

void check(platform::Result result, const std::string& what, const char* prefix) {
  if (result.ok()) return;
  char text[201];
  std::snprintf(text, sizeof text, "%s: %s — HRESULT 0x%08lX", prefix, what.c_str(),
                static_cast<unsigned long>(result.code));
  const LossReason reason = loss_reason(result);
  if (reason != kNoLoss) throw GpuLost(text, reason, result.code);
  throw std::runtime_error(text);
}

}  // namespace morva::gpu
