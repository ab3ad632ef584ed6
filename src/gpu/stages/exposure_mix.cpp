#include "gpu/stages/exposure_mix.h"

#include "film/exposure_mix.h"
#include "gpu/stages/pixel_ops.h"

namespace morva::gpu {

void apply_exposure_mix(const Frame& frame, const GImage& scene) {
  const ExposureMix mix = exposure_mix(frame.stock, frame.opts);
  if (mix.balance) multiply_channels(frame.device, scene, *mix.balance);
  if (mix.infrared) mix_infrared(frame.device, scene, *mix.infrared);
  for (const auto& matrix : mix.layers) apply_matrix(frame.device, scene, matrix);
}

}  // namespace morva::gpu
