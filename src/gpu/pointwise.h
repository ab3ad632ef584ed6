// The narrow way onto the GPU: the per-pixel loops of single stages of the CPU's flow, each with
// its picture uploaded and its result downloaded again.
#pragma once

#include <string>

#include "gpu/backend.h"
#include "gpu/device.h"

namespace morva::gpu {

class PointwiseDx12 : public PointwiseGpu {
 public:
  // The fastest hardware adapter, or the software one. `platform` must outlive this.
  PointwiseDx12(bool warp, platform::Platform& platform);

  Image negative_color(const Image& light, const DevelopParams& params) override;
  Image negative_bw(const Image& light, const DevelopBwParams& params) override;
  Image print_color(const Image& density, const PrintParams& params) override;
  Image print_bw(const Image& density, const PrintParams& params) override;
  Image srgb_encode(const Image& linear) override;
  // The adapter and what is special about it.
  std::string description() const override;

  Device& device() { return device_; }
  const Device& device() const { return device_; }

 private:
  Device device_;
};

}  // namespace morva::gpu
