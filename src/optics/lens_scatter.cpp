#include "optics/lens_scatter.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "image/wide_gaussian.h"
#include "optics/highlights.h"

namespace morva {

namespace {

std::array<double, 3> channel_means(const Image& picture) {
  std::array<double, 3> sums = {0.0, 0.0, 0.0};
  const float* p = picture.data.data();
  for (std::size_t i = 0; i < picture.pixels(); ++i, p += 3)
    for (std::size_t k = 0; k < 3; ++k) sums[k] += static_cast<double>(p[k]);
  for (double& sum : sums) sum /= static_cast<double>(picture.pixels());
  return sums;
}

// Channel k becomes share * plane + (1 - share) * itself.
void mix_in(Image& picture, std::int32_t k, const Image& plane, double share) {
  const auto new_share = static_cast<float>(share), old_share = static_cast<float>(1.0 - share);
  float* sample = picture.data.data() + k;
  for (const float blurred : plane.data) {
    *sample = new_share * blurred + old_share * *sample;
    sample += picture.c;
  }
}

Image spread_of_channel(const Image& picture, std::int32_t k, double sigma_px) {
  return blur_full_size(extract_channel(picture, k), sigma_px);
}

void blur_channel(Image& picture, std::int32_t k, double sigma_px) {
  store_channel(picture, k, spread_of_channel(picture, k, sigma_px));
}

// Takes the middle out of a disc; what is left of its light goes to the rim.
void hollow(Image& disc, const Image& middle, double ring) {
  const auto taken = static_cast<float>(ring), kept = static_cast<float>(1.0 - ring);
  for (std::size_t i = 0; i < disc.data.size(); ++i)
    disc.data[i] = (disc.data[i] - taken * middle.data[i]) / kept;
}

}  // namespace

void clamp_to_light(Image& picture) {
  for (float& sample : picture.data) sample = std::max(0.0f, sample);  // NaN gives 0
}

Image add_veil(Image picture, const Veil& veil) {
  if (!(veil.strength > 0.0)) return picture;
  const auto strength = static_cast<float>(veil.strength);
  const std::array<double, 3> means = channel_means(picture);
  for (std::int32_t k = 0; k < 3; ++k) {
    const Image near_light = spread_of_channel(picture, k, veil.sigma_px);
    const float far_light = kVeilFar * static_cast<float>(means[k]);
    float* sample = picture.data.data() + k;
    for (const float light : near_light.data) {
      *sample += strength * (kVeilNear * light + far_light);
      sample += picture.c;
    }
  }
  return picture;
}

Image add_bloom(Image picture, const Bloom& bloom) {
  if (!(bloom.strength > 0.0)) return picture;
  const auto wide_share = static_cast<float>(bloom.wide_share);
  const auto tight_share = static_cast<float>(1.0 - bloom.wide_share);
  const auto strength = static_cast<float>(bloom.strength);
  const auto is_dark = [](float sample) { return sample == 0.0f; };
  for (std::int32_t k = 0; k < 3; ++k) {
    Image light = light_above(picture, k, bloom.threshold);
    if (std::all_of(light.data.begin(), light.data.end(), is_dark)) continue;
    const Image tight = blur_full_size(light, bloom.tight_sigma_px);
    const Image wide = blur_full_size(std::move(light), bloom.wide_sigma_px);
    const auto tint = static_cast<float>(bloom.tint[k]);
    float* sample = picture.data.data() + k;
    for (std::size_t i = 0; i < tight.data.size(); ++i, sample += picture.c)
      *sample += (wide_share * wide.data[i] + tight_share * tight.data[i]) * tint * strength;
  }
  return picture;
}

Image add_glow(Image picture, const Glow& glow) {
  if (!(glow.strength > 0.0)) return picture;
  for (std::int32_t k = 0; k < 3; ++k) {
    Image disc = spread_of_channel(picture, k, glow.sigma_px[k]);
    if (glow.ring > 0.0)
      hollow(disc, spread_of_channel(picture, k, kRingHole * glow.sigma_px[k]), glow.ring);
    mix_in(picture, k, disc, glow.strength);
  }
  if (glow.focus_shift_sigma_px > 0.0)
    for (std::int32_t k = 0; k < 3; ++k) blur_channel(picture, k, glow.focus_shift_sigma_px);
  clamp_to_light(picture);
  return picture;
}

Image soften(Image picture, const Softness& softness) {
  if (!(softness.sigma_px > 0.0)) return picture;
  for (std::int32_t k = 0; k < 3; ++k)
    mix_in(picture, k, spread_of_channel(picture, k, softness.sigma_px), softness.share);
  return picture;
}

Image defocus_colours(Image picture, const std::array<double, 3>& sigma_px) {
  for (std::int32_t k = 0; k < 3; ++k)
    if (sigma_px[k] > 0.0) blur_channel(picture, k, sigma_px[k]);
  return picture;
}

}  // namespace morva
