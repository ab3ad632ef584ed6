// Uneven development. Developer is moved about a strip of film to renew it, and it never moves the
// same everywhere: it rushes along the edges, jets through the perforations and lingers in places,
// so that density grows by a little more here than there.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "image/image.h"
#include "image/random.h"

namespace morva {

// How much more than the mean each pixel of a width x height picture is developed, one channel,
// zero mean before its limits, -0.75 .. 0.8; `um_per_px` is the size of a pixel on the film.
// Perforations jet only on a `format` of "135" or "half". Draws from `rng`, the development stream.
// Nothing at a strength of at most 0.0001.
std::optional<Image> uneven_field(int width, int height, double um_per_px,
                                  const std::string& format, double strength, Rng& rng);

// Lays the field on a density image of one to three channels: density above `anchors`, the fog of
// each layer, grows with `sign` * field * gains. Throws std::logic_error when the field has another
// size or more than one channel.
Image apply_uneven(Image density, const std::array<float, 3>& anchors, const Image& field,
                   const std::array<float, 3>& gains, float sign);

}  // namespace morva
