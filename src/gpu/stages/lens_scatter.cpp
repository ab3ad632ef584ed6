#include "gpu/stages/lens_scatter.h"

#include "gpu/stages/element_launch.h"
#include "gpu/stages/pixel_ops.h"
#include "gpu/stages/sums.h"
#include "gpu/stages/wide_gaussian.h"
#include "optics/lens_scatter.h"

namespace morva::gpu {

namespace {

std::array<float, 3> far_light_of(Device& device, const GImage& picture) {
  const auto n = static_cast<double>(pixels(picture));
  std::array<float, 3> light;
  for (std::int32_t k = 0; k < 3; ++k)
    light[k] = kVeilFar * static_cast<float>(sum(device, plane_of(picture, k)) / n);
  return light;
}

// Each channel by its own sigma, as a new picture.
GImage spread(Device& device, const GImage& picture, const std::array<double, 3>& sigma_px) {
  GImage blurred = device.image(picture.height, picture.width, 3);
  for (std::int32_t k = 0; k < 3; ++k)
    blur_full_size(device, plane_of(picture, k), plane_of(blurred, k), sigma_px[k]);
  return blurred;
}

GImage spread(Device& device, const GImage& picture, double sigma_px) {
  return spread(device, picture, std::array{sigma_px, sigma_px, sigma_px});
}

GImage mix_in(Device& device, const GImage& picture, const GImage& blurred, double share) {
  return mix(device, blurred, static_cast<float>(share), picture, static_cast<float>(1.0 - share));
}

// strength * (near_share * near_light + far_light) to each channel.
void veil_over(Device& device, const GImage& picture, const GImage& near_light, float strength,
               const std::array<float, 3>& far_light) {
  launch_elements(device, Kernel::veil_add, floats(picture), {word(floats(picture))},
                  {strength, kVeilNear, far_light[0], far_light[1], far_light[2]},
                  {picture.buffer.get(), near_light.buffer.get()});
}

// Both lobes are planes of one channel, `channel` one of the picture's.
void bloom_over(Device& device, const Plane& channel, const GImage& tight, const GImage& wide,
                const Bloom& bloom, float tint) {
  launch_elements(device, Kernel::bloom_add, pixels(channel),
                  {word(pixels(channel)), word(channel.stride), word(channel.offset)},
                  {static_cast<float>(bloom.wide_share), static_cast<float>(1.0 - bloom.wide_share),
                   tint, static_cast<float>(bloom.strength)},
                  {channel.buffer.get(), tight.buffer.get(), wide.buffer.get()});
}

// Takes the middle out of a disc; what is left of its light goes to the rim.
void hollow(Device& device, const GImage& disc, const GImage& middle, double ring) {
  launch_elements(device, Kernel::glow_ring, floats(disc), {word(floats(disc))},
                  {static_cast<float>(ring), static_cast<float>(1.0 - ring)},
                  {disc.buffer.get(), middle.buffer.get()});
}

}  // namespace

void add_veil(Device& device, const GImage& picture, const Veil& veil) {
  if (!(veil.strength > 0.0)) return;
  const std::array<float, 3> far_light = far_light_of(device, picture);
  const GImage near_light = spread(device, picture, veil.sigma_px);
  veil_over(device, picture, near_light, static_cast<float>(veil.strength), far_light);
}

void add_bloom(Device& device, const GImage& picture, const Bloom& bloom) {
  if (!(bloom.strength > 0.0)) return;
  const GImage light = device.image(picture.height, picture.width, 1);
  const GImage tight = device.image(picture.height, picture.width, 1);
  for (std::int32_t k = 0; k < 3; ++k) {
    over_threshold(device, plane_of(picture, k), plane_of(light), bloom.threshold);
    blur_full_size(device, plane_of(light), plane_of(tight), bloom.tight_sigma_px);
    blur_full_size(device, plane_of(light), plane_of(light), bloom.wide_sigma_px);
    bloom_over(device, plane_of(picture, k), tight, light, bloom,
               static_cast<float>(bloom.tint[k]));
  }
}

GImage add_glow(Device& device, GImage picture, const Glow& glow) {
  if (!(glow.strength > 0.0)) return picture;
  GImage disc = spread(device, picture, glow.sigma_px);
  if (glow.ring > 0.0) {
    std::array<double, 3> hole_px = glow.sigma_px;
    for (double& sigma : hole_px) sigma *= kRingHole;
    hollow(device, disc, spread(device, picture, hole_px), glow.ring);
  }
  picture = mix_in(device, picture, disc, glow.strength);
  disc = {};
  if (glow.focus_shift_sigma_px > 0.0) picture = spread(device, picture, glow.focus_shift_sigma_px);
  clamp_light(device, picture, false);
  return picture;
}

GImage soften(Device& device, GImage picture, const Softness& softness) {
  if (!(softness.sigma_px > 0.0)) return picture;
  return mix_in(device, picture, spread(device, picture, softness.sigma_px), softness.share);
}

void defocus_colours(Device& device, const GImage& picture, const std::array<double, 3>& sigma_px) {
  for (std::int32_t k = 0; k < 3; ++k)
    if (sigma_px[k] > 0.0)
      blur_full_size(device, plane_of(picture, k), plane_of(picture, k), sigma_px[k]);
}

}  // namespace morva::gpu
