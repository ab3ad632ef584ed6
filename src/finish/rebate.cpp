#include "finish/rebate.h"

#include <algorithm>
#include <utility>

#include "finish/gate_mask.h"
#include "finish/holder_edge.h"
#include "finish/notch_code.h"
#include "image/growing_image.h"

namespace morva {

namespace {

Image on_dark_canvas(Image picture, const RebatePlan& plan) {
  darken_outside_window(picture, plan.window);
  Image canvas = reserve_image(plan.h, plan.w, picture.c);
  const std::size_t left = static_cast<std::size_t>(plan.margins[kLeftSide]) * picture.c;
  add_rows(canvas, static_cast<std::size_t>(plan.margins[kTopSide]));
  for (int y = 0; y < picture.h; ++y)
    std::copy_n(&picture.at(y, 0), picture.row_samples(), add_rows(canvas, 1) + left);
  add_rows(canvas, static_cast<std::size_t>(plan.margins[kBottomSide]));
  return canvas;
}

}  // namespace

Image rebate_mask(const RebatePlan& plan, const RebateStyle& style, Rng& rng) {
  Image mask = gate_mask(plan, style.preset, style.rough, rng);
  cut_notch_code(mask, plan);
  return mask;
}

Rebate lay_rebate(Image work, const RebatePlan& plan, const RebateStyle& style, Rng& rng) {
  if (!plan.has_canvas()) return {std::move(work), std::nullopt};
  Rebate rebate;
  rebate.work = on_dark_canvas(std::move(work), plan);
  rebate.mask = rebate_mask(plan, style, rng);
  return rebate;
}

}  // namespace morva
