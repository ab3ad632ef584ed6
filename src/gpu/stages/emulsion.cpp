#include "gpu/stages/emulsion.h"

#include <utility>

#include "film/glass_ring.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/filters.h"
#include "gpu/stages/pixel_ops.h"

namespace morva::gpu {

namespace {

GImage spread_by_base(const Frame& frame, const GImage& mask, const HalationParams& params) {
  Device& device = frame.device;
  const GImage halo = device.image(mask.height, mask.width, 1);
  blur_plane(device, plane_of(mask), plane_of(halo), params.radius_px);
  if (params.glass_mm > 0.0) {
    const Image ring =
        glass_ring(device.download(mask), frame.um_per_px, params.glass_mm, kGlassIndex);
    add_halo(device, halo, device.upload(ring), 1.0f, {1.0f, 1.0f, 1.0f});
  }
  return halo;
}

void add_halation(const Frame& frame, const GImage& light, const GImage& source,
                  const HalationParams& params) {
  const GImage mask = frame.device.image(source.height, source.width, 1);
  over_threshold(frame.device, plane_of(source), plane_of(mask), params.threshold);
  // A single silver layer has no colour to give the halo.
  const std::array<float, 3> tint =
      light.channels == 1 ? std::array{1.0f, 1.0f, 1.0f} : params.tint;
  add_halo(frame.device, light, spread_by_base(frame, mask, params), params.strength, tint);
}

HalationParams halation_of(const Frame& frame) {
  return halation_params(get(frame.stock, "halation"), frame.um_per_px,
                         get_number(frame.opts, "halation_mult", 1.0));
}

}  // namespace

GImage emulsion_blur(const Frame& frame, GImage light) {
  const double sigma_px = emulsion_sigma_px(frame.stock, frame.um_per_px);
  if (sigma_px == 0.0) return light;
  return blur_image(frame.device, light, sigma_px);
}

void halate(const Frame& frame, const GImage& light, const GImage& source) {
  const HalationParams params = halation_of(frame);
  if (params.active) add_halation(frame, light, source, params);
}

GImage light_in_layers(const Frame& frame, GImage scene) {
  const StageTimer timer(frame, kEmulsionTime);
  GImage light = emulsion_blur(frame, std::move(scene));
  const HalationParams params = halation_of(frame);
  if (params.active)
    add_halation(frame, light, weighted_plane(frame.device, light, {kLumaR, kLumaG, kLumaB}),
                 params);
  return light;
}

void adjacency(const Frame& frame, const GImage& density) {
  for (const AdjacencyTerm& term : adjacency_terms(frame.stock, frame.um_per_px))
    add_edge_effect(frame.device, density, blur_image(frame.device, density, term.sigma_px), term);
}

void add_halo(Device& device, const GImage& light, const GImage& halo, float strength,
              const std::array<float, 3>& tint) {
  launch_elements(device, Kernel::hal_add, pixels(light),
                  {word(pixels(light)), word(light.channels)},
                  {strength, tint[0], tint[1], tint[2]}, {light.buffer.get(), halo.buffer.get()});
}

void add_edge_effect(Device& device, const GImage& density, const GImage& blurred,
                     const AdjacencyTerm& term) {
  const auto k = static_cast<float>(term.k);
  const auto sat = static_cast<float>(term.sat);
  launch_elements(device, Kernel::unsharp, floats(density),
                  {word(floats(density)), term.sat < kUnsaturated ? 1u : 0u}, {k, sat, k * sat},
                  {density.buffer.get(), blurred.buffer.get()});
}

}  // namespace morva::gpu
