// The colour negative: three layers, each with its own curve, and the dyes' chemistry between them.
#pragma once

#include <array>
#include <optional>

#include "film/layers.h"
#include "film/negative.h"
#include "image/image.h"
#include "image/render_context.h"
#include "profiles/json_access.h"

namespace morva {

struct DevelopParams {
  std::array<HdCurve, 3> curves;  // layers r, g, b
  LayerExposure exposure;
  const Image* uneven = nullptr;  // field of uneven development, one channel, or none
  std::optional<std::array<float, 9>> couplers;  // layer matrix in row order
  double saturation = 0.0;       // widens colour differences where there is no matrix
  double retained_silver = 0.0;  // neutral density that rides on the dyes
};

inline constexpr double kLeastRetainedSilver = 0.0001;  // that shows

DevelopParams develop_params(const Json& film, const Json& options, const Image* uneven);

// From exposed light (linear, three channels, film blur and halation done) to layer densities.
Image develop_dyes(Image light, const DevelopParams& params);

// Exposes and develops `scene` (linear light as the layers see it, three channels). `px_um`: a
// pixel's size on the film, micrometres. `uneven` may be null.
ColorNegative develop_color(Image scene, const Json& film, const Json& options, double px_um,
                            const Image* uneven, RenderContext& ctx);

}  // namespace morva
