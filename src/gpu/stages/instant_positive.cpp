#include "gpu/stages/instant_positive.h"

#include <utility>
#include <vector>

#include "film/couplers.h"
#include "film/exposure.h"
#include "film/layers.h"
#include "film/look.h"
#include "gpu/kernels/film_layout.h"
#include "gpu/stages/develop_bw.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/emulsion.h"
#include "gpu/stages/film_table.h"
#include "gpu/stages/filters.h"
#include "gpu/stages/pixel_ops.h"
#include "gpu/stages/positive.h"
#include "gpu/stages/round_trip.h"
#include "print/instant_texture.h"
#include "print/tone_mottle.h"
#include "profiles/film.h"
#include "profiles/seeds.h"

namespace morva::gpu {

namespace {

GImage soften(const Frame& frame, GImage scene) {
  const double sigma_px = soften_sigma_px(frame.stock, scene.height);
  if (sigma_px == 0.0) return scene;
  const StageTimer timer(frame, kEmulsionTime);
  const GImage blurred = blur_image(frame.device, scene, sigma_px);
  return mix(frame.device, scene, kSharpShare, blurred, kSoftShare);
}

double texture_strength(const Frame& frame) {
  return get_number(frame.opts, "grain_mult", 1.0);
}

GImage add_texture(const Frame& frame, GImage density) {
  if (!(texture_strength(frame) >= kWeakestTexture)) return density;
  return on_cpu(frame.device, std::move(density), [&](Image plain) {
    Rng rng = seeded_rng(frame.opts, kFilmStream);
    return add_pack_texture(std::move(plain), frame.stock, frame.opts, frame.um_per_px, rng);
  });
}

// The mottle of the tone goes on with the texture's draws, so the sheet is made where they are.
GImage finish_on_cpu(const Frame& frame, GImage density, const HdCurve& curve) {
  return on_cpu(frame.device, std::move(density), [&](Image plain) {
    Rng rng = seeded_rng(frame.opts, kFilmStream);
    Image textured =
        add_pack_texture(std::move(plain), frame.stock, frame.opts, frame.um_per_px, rng);
    check_cancel(frame.ctx);
    return silver_sheet(std::move(textured), curve, frame.stock, frame.opts, rng);
  });
}

}  // namespace

GImage transfer_dyes(Device& device, const GImage& light, const InstantParams& params) {
  using namespace instant_layout;
  const std::optional<float> widening = dye_widening(params.saturation);
  std::vector<float> table(kNumbers);
  put_curves(&table[kCurves], params.curves);
  table[kEv] = exposure_shift(params.ev);
  put(&table[kFog], layer_fog(params.curves));
  put(&table[kMid], layer_mid(params.curves));
  if (params.crosstalk) put(&table[kCrosstalk], *params.crosstalk);
  table[kWiden] = widening.value_or(1.0f);
  GImage density = device.image(light.height, light.width, 3);
  launch_elements(device, Kernel::instant_curves, pixels(light),
                  {word(pixels(light)), params.crosstalk ? 1u : 0u, widening ? 1u : 0u}, table,
                  {light.buffer.get(), density.buffer.get()});
  return density;
}

GImage develop_instant(const Frame& frame, GImage scene) {
  GImage light = light_in_layers(frame, soften(frame, std::move(scene)));
  check_cancel(frame.ctx);
  const InstantParams params = instant_params(frame.stock, frame.opts);
  GImage sheet = transfer_dyes(frame.device, std::exchange(light, {}), params);
  check_cancel(frame.ctx);
  sheet = add_texture(frame, std::move(sheet));
  check_cancel(frame.ctx);
  return show_dyes(frame.device, sheet, white_of_sheet(frame.stock, params.curves),
                   look_params(get_object(frame.stock, "look")));
}

GImage develop_instant_mono(const Frame& frame, GImage scene) {
  GImage light = light_in_silver(frame, soften(frame, std::move(scene)));
  check_cancel(frame.ctx);
  const HdCurve curve = instant_curve(frame.stock.at("layers").at("g"));
  GImage density =
      develop_silver(frame.device, std::exchange(light, {}), {},
                     {curve, exposure_total(frame.opts, frame.stock)}, Development::reversal);
  if (has_tone_mottle(frame.stock, texture_strength(frame)))
    return finish_on_cpu(frame, std::move(density), curve);
  density = add_texture(frame, std::move(density));
  check_cancel(frame.ctx);
  return show_silver(frame.device, density, white_of_silver(frame.stock, curve),
                     image_tone(frame.stock), look_params(get_object(frame.stock, "look")));
}

}  // namespace morva::gpu
