// The one check through which every platform call goes whose result matters.
#pragma once

#include <cstdint>
#include <string>

#include "gpu/backend.h"
#include "gpu/platform/result.h"

namespace morva::gpu {

enum LossReason : std::uint32_t {
  kNoLoss = 0,
  kHung = 1,
  kReset = 2,
  kRemoved = 3,
  kDriverError = 4,
  kNoMemory = 5,
};

// The reason that a code stands for; kNoLoss for success and for every other failure.
LossReason loss_reason(platform::Result result);

// Its name in texts; an unknown number is a removed device.
const char* loss_name(std::uint32_t reason);

// Nothing on success. A code that stands for a lost device or for no memory throws GpuLost, any
// other failure std::runtime_error, both with "PREFIX: WHAT — HRESULT 0x...", at most 200 bytes.
void check(platform::Result result, const std::string& what, const char* prefix = "DX12");

}  // namespace morva::gpu
