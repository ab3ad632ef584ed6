// The three layers of a colour film, from light to density, and the light through them. In a
// negative more light makes more density; a reversal film is developed twice, and what light
// exposed is taken out again.
#pragma once

#include <array>
#include <optional>

#include "image/image.h"
#include "profiles/hd_curve.h"
#include "profiles/json_access.h"

namespace morva {

enum class Development { negative, reversal };

struct LayerExposure {
  double ev = 0.0;                               // exposure, stops
  std::optional<std::array<float, 3>> layer_ev;  // of each layer beside it, stops
};

// What `layer_ev` adds to a layer's log10 exposure.
float layer_shift(const LayerExposure& exposure, int layer);

// What uneven development does to each layer; the blue one lies on top and meets the bath first.
inline constexpr std::array<float, 3> kUnevenGains = {1.0f, 1.0f, 1.15f};

// The scene (linear, three channels) as the layers get it: blurred by the emulsion, and with the
// halo that the base throws back. `px_um`: a pixel's size on the film, micrometres.
Image light_in_layers(Image scene, const Json& film, const Json& options, double px_um);

// One layer, the channel `layer` of an image of any channel count, from that light to density with
// base and fog, in place. Its exposure: `ev` stops, and `shift_of_layer` in log10 beside it.
void expose_layer(Image& light, int layer, const HdCurve& curve, double ev, Development development,
                  float shift_of_layer = 0.0f);

// All three. `uneven`, one channel or null, is the field of uneven development: where it is more, a
// negative gains density, and a reversal film loses it, for a first developer that works harder
// leaves less to the second.
Image expose_layers(Image light, const std::array<HdCurve, 3>& curves,
                    const LayerExposure& exposure, Development development,
                    const Image* uneven = nullptr);

// Density of each layer: of its base and fog, and of a mid grey on it.
std::array<float, 3> layer_fog(const std::array<HdCurve, 3>& curves);
std::array<float, 3> layer_mid(const std::array<HdCurve, 3>& curves);

// Adds `sign` times a density of each layer's own, in place; the second a mid grey's.
void add_to_layers(Image& density, const std::array<float, 3>& layers, float sign);
void add_mid_density(Image& density, const std::array<HdCurve, 3>& curves, float sign);

// The share of light that density above `clear` lets pass, any channel count, in place.
void shine_through(Image& density, float clear);

}  // namespace morva
