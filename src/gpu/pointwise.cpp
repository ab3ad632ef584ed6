#include "gpu/pointwise.h"

#include "gpu/stages/bw_print.h"
#include "gpu/stages/color_print.h"
#include "gpu/stages/develop_bw.h"
#include "gpu/stages/develop_color.h"
#include "gpu/stages/pixel_ops.h"

namespace morva::gpu {

PointwiseDx12::PointwiseDx12(bool warp, platform::Platform& platform) : device_(warp, platform) {}

Image PointwiseDx12::negative_color(const Image& light, const DevelopParams& params) {
  const GImage uneven = params.uneven != nullptr ? device_.upload(*params.uneven) : GImage{};
  return device_.download(develop_dyes(device_, device_.upload(light), uneven, params));
}

Image PointwiseDx12::negative_bw(const Image& light, const DevelopBwParams& params) {
  return device_.download(
      develop_silver(device_, device_.upload(light), {}, params, Development::negative));
}

Image PointwiseDx12::print_color(const Image& density, const PrintParams& params) {
  return device_.download(expose_color_paper(device_, params, device_.upload(density)));
}

Image PointwiseDx12::print_bw(const Image& density, const PrintParams& params) {
  return device_.download(expose_bw_paper(device_, params, device_.upload(density)));
}

Image PointwiseDx12::srgb_encode(const Image& linear) {
  return device_.download(encode_srgb(device_, device_.upload(linear)));
}

std::string PointwiseDx12::description() const {
  const DeviceInfo& info = device_.info();
  std::string text = "DX12 " + info.adapter_name;
  if (info.uma) text += ", UMA";
  if (info.cache_coherent) text += " (CacheCoherent)";
  if (info.debug_layer) text += ", отладочный слой";
  return text;
}

}  // namespace morva::gpu
