#include "gpu/stages/camera_filters.h"

#include <cmath>
#include <utility>

#include "gpu/stages/filters.h"
#include "gpu/stages/graduated_filter.h"
#include "gpu/stages/pixel_ops.h"
#include "gpu/stages/round_trip.h"
#include "gpu/stages/sums.h"
#include "optics/camera_filters.h"
#include "optics/cut_filter.h"
#include "optics/diffusion_filter.h"
#include "optics/star_filter.h"

namespace morva::gpu {

namespace {

GImage add_bloom(Device& device, const GImage& picture, const Diffusion& d) {
  GImage glow = device.image(picture.height, picture.width, 3);
  for (std::int32_t k = 0; k < 3; ++k)
    over_threshold(device, plane_of(picture, k), plane_of(glow, k), d.threshold);
  glow = blur_image(device, glow, d.radius_px);
  return mix(device, picture, 1.0f, glow, static_cast<float>(d.bloom));
}

// A sample that is not finite spoils the sum over all pixels; then the CPU leaves it out.
double mean_luminance_of(Device& device, const GImage& picture) {
  const double sum = weighted_sum(device, picture, {kLumaR, kLumaG, kLumaB});
  if (std::isfinite(sum)) return sum / static_cast<double>(pixels(picture));
  return mean_luminance(device.download(picture));
}

void add_haze(Device& device, const GImage& picture, const Diffusion& d) {
  const float contrast = d.contrast(), veil = d.veil(mean_luminance_of(device, picture));
  multiply_channels(device, picture, {contrast, contrast, contrast});
  add_to_all(device, picture, veil);
}

GImage diffuse(Device& device, GImage picture, const RearFilter& filter) {
  const Diffusion d = read_diffusion(filter.profile, filter.amount, picture.width);
  if (d.bloom > 0.0) picture = add_bloom(device, picture, d);
  if (d.haze > 0.0) add_haze(device, picture, d);
  return picture;
}

}  // namespace

GImage apply_front_filters(Device& device, GImage picture, const Json& opts,
                           const ProfileStore& store) {
  const FrontFilters filters = front_filters(opts, store);
  if (filters.graduated)
    picture =
        apply_graduated_filter(device, picture,
                               read_graduation(*filters.graduated, filters.graduated_angle_deg,
                                               filters.graduated_position));
  if (filters.star)
    picture = on_cpu(device, std::move(picture), [&](Image light) {
      return apply_star_filter(std::move(light), *filters.star, filters.star_angle_deg);
    });
  return picture;
}

GImage apply_filters(Device& device, GImage picture, const Json& film, const Json& opts,
                     const ProfileStore& store) {
  const RearFilters filters = rear_filters(opts, store);
  if (filters.cut)
    multiply_channels(device, picture, cut_gains(filters.cut->profile, film, filters.cut->amount));
  if (filters.diffusion) picture = diffuse(device, std::move(picture), *filters.diffusion);
  return picture;
}

}  // namespace morva::gpu
