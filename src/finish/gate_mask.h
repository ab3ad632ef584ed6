// The edge of the picture on its paper: the opening of a negative carrier filed out by hand until
// some clear film shows. Its sides waver, its corners are round, and where the file left a slope
// the light of the enlarger fades.
#pragma once

#include <array>
#include <vector>

#include "finish/rebate_plan.h"
#include "image/image.h"
#include "image/random.h"

namespace morva {

// The carrier's four edges on the canvas of a plan, in its pixel coordinates: the row of the upper
// and lower edge for each column, the column of the left and right one for each row.
using EdgeLines = std::array<std::vector<float>, 4>;

// Each edge lies between the preset's inner limit and 0.95 of its margin, or on the film's own edge
// where the plan has one; draws from `rng` for the others. A roughness that is no number counts as
// 0.
EdgeLines carrier_edges(const RebatePlan& plan, const RebatePreset* preset, double rough, Rng& rng);

// What of each pixel of the canvas the print shows: one channel, 1 inside the edges, 0 outside.
// With a preset its corners are round and each side fades by a softness of its own drawing; without
// one the edge is blurred, a smoother one more.
Image gate_mask(const RebatePlan& plan, const RebatePreset* preset, double rough, Rng& rng);

}  // namespace morva
