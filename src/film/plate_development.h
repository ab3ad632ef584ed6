// What the developer leaves on a wet plate. It is swept over the plate by hand and worked until the
// image stands: where it runs it drops a veil of silver in streaks, and worked too long it grows
// crystals of silver in the thin parts, frost and dendrites, which glitter on a plate that is seen
// on black.
#pragma once

#include "film/plate_fields.h"
#include "image/image.h"
#include "profiles/hd_curve.h"

namespace morva {

// Adds veil and crystals to the density (base and fog included, one channel) of a wet plate
// with the given fields, whose generator it draws from. A plate of another kind or without a pour
// passes as it is.
Image develop_plate_post(Image density, const PlateParams& plate, const HdCurve& curve,
                         double px_um, PlateFields& fields);

// Beyond the edge of the coating there is no silver, nor grain: the bare base shows.
void bare_uncoated(Image& density, const Image& edge, double dmin);

}  // namespace morva
