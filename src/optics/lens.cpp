#include "optics/lens.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <utility>
#include <vector>

#include "image/elementary.h"
#include "optics/field_aberrations.h"
#include "optics/lens_geometry.h"
#include "optics/lens_parameters.h"
#include "optics/lens_scatter.h"

namespace morva {

namespace {

// Each side is measured by its own half, so that the fall follows the picture's shape and reaches
// 1 in the corner.
void darken_corners(Image& picture, const Vignette& vignette) {
  if (!(vignette.strength > 0.0)) return;
  const auto strength = static_cast<float>(vignette.strength);
  const float half_h = static_cast<float>(picture.h) / 2.0f;
  const float half_w = static_cast<float>(picture.w) / 2.0f;
  const float cy = static_cast<float>(picture.h - 1) / 2.0f;
  const float cx = static_cast<float>(picture.w - 1) / 2.0f;
  std::vector<float> loss(static_cast<std::size_t>(picture.w));
  float* sample = picture.data.data();
  for (std::int32_t i = 0; i < picture.h; ++i) {
    const float y = (static_cast<float>(i) - cy) / half_h;
    for (std::int32_t j = 0; j < picture.w; ++j) {
      const float x = (static_cast<float>(j) - cx) / half_w;
      loss[j] = std::min(1.0f, std::sqrt(x * x + y * y) / std::numbers::sqrt2_v<float>);
    }
    elementary::powf(loss.data(), vignette.power, loss.data(), loss.size());
    for (const float share : loss)
      for (int k = 0; k < 3; ++k) *sample++ *= 1.0f - share * strength;
  }
}

void colour_by_glass(Image& picture, const std::optional<std::array<double, 3>>& transmission) {
  if (!transmission) return;
  const float gains[3] = {static_cast<float>((*transmission)[0]),
                          static_cast<float>((*transmission)[1]),
                          static_cast<float>((*transmission)[2])};
  scale_channels(picture, gains);
}

}  // namespace

Image apply_lens(Image picture, const Json& lens, const Json& opts, const RenderContext& ctx) {
  const LensParameters p = read_lens(lens, opts, picture.w, picture.h);
  picture = distort(std::move(picture), p.distortion);
  picture = add_veil(std::move(picture), p.veil);
  check_cancel(ctx);
  picture = add_bloom(std::move(picture), p.bloom);
  check_cancel(ctx);
  picture = add_glow(std::move(picture), p.glow);
  check_cancel(ctx);
  picture = blur_field(std::move(picture), p.field, ctx);
  picture = part_colours(std::move(picture), p.lateral_colour);
  check_cancel(ctx);
  darken_corners(picture, p.vignette);
  picture = soften(std::move(picture), p.softness);
  check_cancel(ctx);
  picture = defocus_colours(std::move(picture), p.axial_sigma_px);
  colour_by_glass(picture, p.transmission);
  clamp_to_light(picture);
  return picture;
}

}  // namespace morva
