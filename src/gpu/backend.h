// What the CPU flow sees of a GPU: two interfaces that a RenderContext hands down. Nothing else of
// this folder is known outside it.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

class ProfileStore;
struct DevelopBwParams;
struct DevelopParams;
struct PrintParams;
struct RenderContext;

namespace gpu {

// Takes over the per-pixel loops of single stages. Results match the CPU's.
class PointwiseGpu {
 public:
  virtual ~PointwiseGpu() = default;
  virtual Image negative_color(const Image& light, const DevelopParams& params) = 0;
  virtual Image negative_bw(const Image& light, const DevelopBwParams& params) = 0;
  virtual Image print_color(const Image& density, const PrintParams& params) = 0;
  virtual Image print_bw(const Image& density, const PrintParams& params) = 0;
  virtual Image srgb_encode(const Image& linear) = 0;
  virtual std::string description() const = 0;
};

// Takes over a whole render.
class GpuBackend {
 public:
  virtual ~GpuBackend() = default;
  virtual Image render(const ProfileStore& store, const Image& input, const Json& film,
                       const Json& lens, const Json& paper, const Json& options,
                       RenderContext& ctx) = 0;
  virtual std::string description() const = 0;
};

// The device stopped answering in the middle of a render, or has no memory left for it.
struct GpuLost : std::runtime_error {
  GpuLost(const std::string& text, std::uint32_t why, std::uint32_t code)
      : std::runtime_error(text), reason(why), hresult(code) {}

  std::uint32_t reason;   // 1 hung, 2 reset, 3 removed, 4 driver error, 5 out of memory
  std::uint32_t hresult;  // of the call that failed
  // Of an allocation that failed twice, else 0.
  std::uint64_t requested_bytes = 0;
  std::uint64_t available_bytes = 0;
};

}  // namespace gpu

}  // namespace morva
