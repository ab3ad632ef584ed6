// What the film went through before it was developed: years in a drawer, or an exposure through its
// own base. Both rewrite the film's record; no stage knows of them beyond what the record says.
#pragma once

#include "profiles/json_access.h"

namespace morva {

// The film as options `expired_years` and `redscale` leave it. Years tell on colour and
// black-and-white negatives, slides and instant packs; a plate is coated the day it is used.
// Redscale is for colour negatives alone. Adds `_exposure_shift`, `_layer_ev` and what the ageing
// was, for the stages to read.
Json prepare_film(const Json& film, const Json& options);

// How many years of a film of middling speed one year is: coarse grain is fast grain, and fast
// grain catches more of the radiation that fogs it. 0.5 .. 2.8; 1 for a film without grain.
double age_rate(const Json& film);

// A curve record between new densities. Slope and anchor keep their place in the range, and fog, a
// fraction, lengthens the toe. A record without its densities comes back as it is.
Json recurve(const Json& curve, double new_dmin, double new_dmax, double fog, double mid_default,
             double toe_default);

// A negative's curve under fog: the fogged fraction of the range is lost from below.
Json fog_curve(const Json& curve, double fog, double mid_default, double toe_default);

}  // namespace morva
