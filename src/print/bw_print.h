// Black-and-white prints, from a black-and-white or a colour negative.
#pragma once

#include <array>

#include "film/negative.h"
#include "image/image.h"
#include "image/render_context.h"
#include "print/paper.h"

namespace morva {

// What the paper sees of each layer of a colour negative; the weights sum to 1.
std::array<float, 3> paper_weights(const Json& paper);

// A colour negative's three layer densities as one, each layer weighted by what the paper sees of
// it.
Image density_on_paper(const Image& density, const Json& paper);

// Reflectance, linear, 0..1, three channels.
Image print_bw(const PrintParams& params, Negative negative, RenderContext& ctx);

// A colour negative on black-and-white paper, whose own colour sensitivity decides the grey mix.
// `scene` is linear light as the layers see it; `px_um` a pixel's size on the film, micrometres.
// The film's look is a matter of colour and plays no part.
Image print_color_on_bw(Image scene, const Json& film, const Json& paper, const Json& options,
                        double px_um, const Image* uneven, RenderContext& ctx);

}  // namespace morva
