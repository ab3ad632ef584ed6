// Three-colour photography on plates: the scene is taken three times through a red, a green and a
// blue glass, each plate is printed to a positive, and three lanterns lay the positives over each
// other on a screen. Its faults are its character: three exposures that differ, three plates that
// do not quite fall together.
#pragma once

#include <array>
#include <optional>

#include "film/halation.h"
#include "image/image.h"
#include "image/random.h"
#include "image/render_context.h"
#include "profiles/hd_curve.h"
#include "profiles/json_access.h"

namespace morva {

// What makes one plate of the scene.
struct SeparationParams {
  std::array<float, 3> filter;  // share of R, G and B that its glass lets pass
  double ev = 0.0;              // exposure, stops
};

struct TricolorParams {
  std::array<SeparationParams, 3> plates;  // r, g, b
  double ev_jitter = 0.0;                  // deviation of an exposure, stops
  HalationParams halation;
  HdCurve negative;
  HdCurve positive;
  std::optional<std::array<float, 9>> projection;  // colours of the lanterns on the screen
};

// `px_um`: a pixel's size on the plate, micrometres. Throws ProfileError for a filter that is not
// three numbers and for a `negative` without its keys.
TricolorParams tricolor_params(const Json& film, const Json& options, double px_um);

// The density of a second plate that is printed in contact with a negative's, its density with base
// and fog; one channel, in place.
void expose_in_contact(Image& plate, const TricolorParams& params);

// The plates are exposed one after another, each timed by hand while the light changes, so that
// every exposure is off by its own. Draws a normal for each plate from `rng`; none without a
// jitter.
void jitter_exposures(TricolorParams& params, Rng& rng);

// Light on the screen, linear, 0..1, three channels. `scene` is linear light, `px_um` a pixel's
// size on the plate in micrometres; `uneven` may be null. Exposures, register and grain draw from
// the film stream.
Image develop_tricolor(Image scene, const Json& film, const Json& options, double px_um,
                       const Image* uneven, RenderContext& ctx);

}  // namespace morva
