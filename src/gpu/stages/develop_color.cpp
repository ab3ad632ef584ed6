#include "gpu/stages/develop_color.h"

#include <utility>

#include "film/couplers.h"
#include "gpu/stages/emulsion.h"
#include "gpu/stages/grain.h"
#include "gpu/stages/layers.h"
#include "gpu/stages/pixel_ops.h"

namespace morva::gpu {

namespace {

std::array<float, 3> below_mid(const std::array<HdCurve, 3>& curves) {
  const std::array<float, 3> mid = layer_mid(curves);
  return {-mid[0], -mid[1], -mid[2]};
}

}  // namespace

GImage develop_dyes(Device& device, const GImage& light, const GImage& uneven,
                    const DevelopParams& params) {
  LayerDevelopment layers;
  layers.curves = params.curves;
  layers.exposure = params.exposure;
  layers.matrix = params.couplers;
  layers.widening = coupler_widening(params.saturation);
  layers.retained_silver = params.retained_silver;
  return develop_layers(device, light, uneven, layers);
}

GImage develop_color(const Frame& frame, GImage scene) {
  GImage light = light_in_layers(frame, std::move(scene));
  check_cancel(frame.ctx);

  const DevelopParams params = develop_params(frame.stock, frame.opts, frame.uneven);
  GImage density;
  {
    const StageTimer timer(frame, "негатив (кривые, соседство)");
    density = develop_dyes(frame.device, std::exchange(light, {}), uneven_on_gpu(frame), params);
    adjacency(frame, density);
  }
  density = add_grain(frame, std::move(density), params.curves);
  add_channels(frame.device, density, below_mid(params.curves));
  return density;
}

}  // namespace morva::gpu
