// The notch code: what the maker of sheet film cuts into the edge of every sheet, so that in the
// dark a finger tells which film it is and which way its emulsion faces.
#pragma once

#include "finish/rebate_plan.h"
#include "image/image.h"

namespace morva {

// Takes the notches out of the gate mask of the plan's canvas. Nothing without a notch code.
void cut_notch_code(Image& mask, const RebatePlan& plan);

}  // namespace morva
