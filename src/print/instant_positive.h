// Instant film: the pack develops its own positive. Where the negative was exposed, dyes or silver
// stay in it; where not, they wander into the receiving sheet, so that light gives less density
// there, as on a reversal film.
#pragma once

#include <array>
#include <optional>

#include "image/image.h"
#include "image/random.h"
#include "image/render_context.h"
#include "profiles/hd_curve.h"
#include "profiles/json_access.h"

namespace morva {

// What the per-pixel part of the colour stage needs.
struct InstantParams {
  std::array<HdCurve, 3> curves;                  // layers r, g, b
  double ev = 0.0;                                // exposure, stops
  std::optional<std::array<float, 9>> crosstalk;  // what each dye absorbs beside its own colour
  double saturation = 0.0;                        // widens colour differences; negative narrows
};

InstantParams instant_params(const Json& film, const Json& options);

// Sigma in pixels of the soft part of the picture, of `height` pixels; 0 where there is none.
double soften_sigma_px(const Json& film, int height);
// What the sharp part and the soft one give to it.
inline constexpr float kSharpShare = 0.35f, kSoftShare = 0.65f;

// Density of the sheet's white: of its base as it was when fresh, where ageing noted it, so that a
// yellowed one shows. Of three dyes, and of silver.
float white_of_sheet(const Json& film, const std::array<HdCurve, 3>& curves);
float white_of_silver(const Json& film, const HdCurve& curve);

// The colour of the silver image, white for a film that states none.
std::array<float, 3> image_tone(const Json& film);

// Mottle, streaks and silk of the pack, on its density, one channel or three. None at all below
// kWeakestTexture of option `grain_mult`. `rng`: the film stream's.
Image add_pack_texture(Image density, const Json& film, const Json& options, double px_um,
                       Rng& rng);

// The sheet that a textured density of silver makes, finished, three channels. `rng` goes on where
// the texture left it.
Image silver_sheet(Image density, const HdCurve& curve, const Json& film, const Json& options,
                   Rng& rng);

// From exposed light (linear, three channels) to the sheet's densities.
Image transfer_dyes(Image light, const InstantParams& params);

// Exposes and develops `scene` (linear light as the layers see it, three channels). `px_um`: a
// pixel's size on the sheet, micrometres. Reflectance relative to the clearest layer's base, 0..1,
// three channels. `film` is the record with the flow's own keys. Draws from the film stream.
Image develop_instant(Image scene, const Json& film, const Json& options, double px_um,
                      RenderContext& ctx);

// The same for a pack of one silver layer, whose curve is `layers.g`.
Image develop_instant_mono(Image scene, const Json& film, const Json& options, double px_um,
                           RenderContext& ctx);

}  // namespace morva
