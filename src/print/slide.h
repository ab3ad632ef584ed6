// Reversal film: a slide is its own positive. Light takes density away, and what is left of the
// three dyes is seen by the light that passes.
#pragma once

#include <array>
#include <optional>

#include "image/image.h"
#include "image/render_context.h"
#include "profiles/hd_curve.h"
#include "profiles/json_access.h"

namespace morva {

struct SlideParams {
  std::array<HdCurve, 3> curves;                   // layers r, g, b
  double ev = 0.0;                                 // exposure, stops
  const Image* uneven = nullptr;                   // field of uneven development, or none
  std::optional<std::array<float, 9>> interlayer;  // layer matrix in row order
  double saturation = 0.0;                         // of the dyes where there is no matrix
  float clear = 0.0f;                              // density that counts as clear film
};

SlideParams slide_params(const Json& film, const Json& options, const Image* uneven);

// From light in the layers (linear, three channels) to their densities with base and fog.
Image develop_reversal_dyes(Image light, const SlideParams& params);

// Transmission of the finished slide, linear, 0..1, three channels, relative to the clearest layer
// of its base. `scene` is linear light as the layers see it, `px_um` a pixel's size on the film in
// micrometres; `uneven` may be null. Grain draws from the film stream.
Image develop_slide(Image scene, const Json& film, const Json& options, double px_um,
                    const Image* uneven, RenderContext& ctx);

}  // namespace morva
