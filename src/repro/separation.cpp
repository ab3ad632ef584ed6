#include "repro/separation.h"

#include <algorithm>

#include "image/held.h"
#include "repro/vector/separation_loops.h"

namespace morva {

namespace {

// No ink lets nothing through, and none that prints takes nothing out; so nothing is divided by 0.
float ink_within_reach(float ink) {
  return static_cast<float>(held(ink, 0.0001, 0.9999));
}

vector::SeparationOrder order_of(const SeparationPlan& plan) {
  vector::SeparationOrder order;
  for (std::size_t ink = 0; ink < kInks; ++ink)
    for (std::size_t ch = 0; ch < 3; ++ch)
      order.depth[ink].of[ch] = 1.0f - ink_within_reach(plan.inks[ink][ch]);
  order.gcr = static_cast<float>(held_finite(plan.gcr));
  order.tac = static_cast<float>(held(plan.tac, 0.0, 1e6));
  order.press = press_curve(plan.gain);
  order.iterations = plan.iterations;
  return order;
}

}  // namespace

void separate(const float* rgb, std::size_t n, const SeparationPlan& plan,
              float* const planes[kInks]) {
  vector::separation_loops().separate(rgb, n, order_of(plan), planes);
}

void separate_mono(const float* gray, std::size_t n, const SeparationPlan& plan, float* black) {
  const std::array<float, 3>& ink = plan.inks[kBlack];
  const float solid =
      (ink_within_reach(ink[0]) + ink_within_reach(ink[1]) + ink_within_reach(ink[2])) / 3.0f;
  const float depth = 1.0f - solid;
  for (std::size_t i = 0; i < n; ++i) {
    const float raised = gray[i] > 0.0001f ? gray[i] : 0.0001f;  // NaN is black
    black[i] = (1.0f - std::min(raised, 1.0f)) / depth;
  }
  plate_values(black, n, plan.gain);
}

}  // namespace morva
