// Instant film: the pack develops its own positive. Where the negative was exposed, dyes or silver
// stay in it; where not, they wander into the receiving sheet, so that light gives less density
// there, as on a reversal film.
#pragma once

#include <array>
#include <optional>

#include "image/image.h"
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
