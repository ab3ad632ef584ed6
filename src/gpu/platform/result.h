// How a platform call answers: a 32-bit HRESULT, whose top bit says failure. Nothing in the
// platform layer throws; gpu_error.h turns a failure that matters into an exception with its text.
#pragma once

#include <cstdint>

namespace morva::gpu::platform {

struct [[nodiscard]] Result {
  std::uint32_t code = 0;

  bool ok() const { return (code & 0x80000000u) == 0; }
  friend bool operator==(Result, Result) = default;
};

inline constexpr Result kOk{0};
inline constexpr Result kFailed{0x80004005u};       // no better word for it
inline constexpr Result kOutOfMemory{0x8007000Eu};  // the device's memory or the host's
inline constexpr Result kNotFound{0x887A0002u};     // past the last adapter
inline constexpr Result kDeviceRemoved{0x887A0005u};
inline constexpr Result kDeviceHung{0x887A0006u};
inline constexpr Result kDeviceReset{0x887A0007u};
inline constexpr Result kDriverInternalError{0x887A0020u};

}  // namespace morva::gpu::platform
