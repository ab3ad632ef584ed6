// Film rebate: the border of unexposed film around the picture. The picture is laid on a larger
// canvas without light before it is exposed, and the film makes of the rest what it makes of
// darkness. A mask then says where the print shows film at all.
#pragma once

#include <optional>

#include "finish/rebate_plan.h"
#include "finish/rebate_style.h"
#include "image/image.h"
#include "image/random.h"

namespace morva {

struct Rebate {
  Image work;                 // the scene on its canvas, or the scene as it was
  std::optional<Image> mask;  // one channel, the canvas's size, 1 inside the gate
};

// Which of the canvas of `plan` the print shows: the edge of the carrier or of the film, drawn from
// `rng`, and the notch code.
Image rebate_mask(const RebatePlan& plan, const RebateStyle& style, Rng& rng);

// The picture on the canvas that `plan` gives it, or as it is, without a mask, where there is none.
// `style` is the one that was planned with. Draws the carrier's edges from `rng`, the frame stream.
Rebate lay_rebate(Image work, const RebatePlan& plan, const RebateStyle& style, Rng& rng);

}  // namespace morva
