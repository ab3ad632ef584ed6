#include "gpu/stages/classic_grain.h"

#include "gpu/stages/counter_noise.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/filters.h"
#include "gpu/stages/pixel_ops.h"
#include "gpu/stages/sums.h"

namespace morva::gpu {

namespace {

// Noise of unit deviation and of the layer's size.
GImage grain_field(Device& device, const GImage& density, const GrainLayer& layer,
                   const CounterDraws& draws) {
  const GImage field = normal_rows(device, draws, 0, density.height, density.width);
  const Plane plane = plane_of(field);
  if (layer.sigma_px > kBlurredSigmaPx)
    gaussian_filter(device, plane, plane, layer.sigma_px, kBoundaryWrap);
  const auto deviation = static_cast<float>(mean_deviation(device, plane).deviation);
  if (deviation > 0.0f) divide(device, field, deviation);
  return field;
}

}  // namespace

void add_noise(Device& device, const GImage& density, const GrainLayer& layer,
               const GImage& noise) {
  launch_elements(device, Kernel::grain_classic, pixels(density),
                  {word(pixels(density)), word(density.channels), word(layer.channel)},
                  {layer.dmin, layer.range, layer.norm, layer.amount},
                  {density.buffer.get(), noise.buffer.get()});
}

void add_classic_grain(Device& device, const GImage& density, const std::vector<GrainLayer>& layers,
                       std::uint64_t hash) {
  std::uint32_t tag = kClassicTag;
  for (const GrainLayer& layer : layers)
    add_noise(device, density, layer, grain_field(device, density, layer, {hash, tag++}));
}

}  // namespace morva::gpu
