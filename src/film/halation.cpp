#include "film/halation.h"

#include <algorithm>

#include "film/glass_ring.h"
#include "image/filters.h"
#include "optics/highlights.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

Image spread_by_base(const Image& mask, const HalationParams& params, double px_um) {
  Image halo = blur_plane(mask, params.radius_px);
  if (params.glass_mm > 0.0) {
    const Image ring = glass_ring(mask, px_um, params.glass_mm, kGlassIndex);
    for (std::size_t i = 0; i < halo.data.size(); ++i) halo.data[i] += ring.data[i];
  }
  return halo;
}

}  // namespace

HalationParams halation_params(const Json& halation, double px_um, double mult) {
  HalationParams params;
  const double strength = get_number(halation, "strength", 0.0) * mult;
  if (strength <= 1e-5) return params;
  params.active = true;
  params.radius_px =
      std::max(1.0, get_number(halation, "radius_um", 200.0) / std::max(px_um, 1e-6));
  params.glass_mm = get_number_or(halation, "glass_mm", 0.0, 0.0);
  params.threshold = static_cast<float>(get_number(halation, "threshold", 0.8));
  params.strength = static_cast<float>(strength);
  if (const auto tint = three_numbers(get(halation, "tint"), "tint"))
    for (int k = 0; k < 3; ++k) params.tint[k] = static_cast<float>((*tint)[k]);
  return params;
}

void halate(Image& image, const Image& source, const HalationParams& params, double px_um) {
  if (!params.active) return;
  const Image halo = spread_by_base(light_above(source, 0, params.threshold), params, px_um);
  float* p = image.data.data();
  for (std::size_t i = 0; i < image.pixels(); ++i, p += image.c) {
    const float light = params.strength * halo.data[i];
    if (image.c == 1)
      p[0] += light;
    else
      for (int k = 0; k < 3; ++k) p[k] += light * params.tint[k];
  }
}

}  // namespace morva
