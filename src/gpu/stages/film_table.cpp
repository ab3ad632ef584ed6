#include "gpu/stages/film_table.h"

#include "gpu/kernels/film_layout.h"
#include "print/paper.h"

namespace morva::gpu {

namespace {

void put_soft_end(float* at, const SoftEnd& end) {
  at[soft_end_layout::kMid] = end.mid;
  at[soft_end_layout::kRange] = end.range;
  at[soft_end_layout::kDirection] = end.direction;
  at[soft_end_layout::kBend] = end.bend;
}

}  // namespace

void put_curve(float* at, const HdCurve& curve) {
  at[curve_layout::kBase] = static_cast<float>(curve.dmin);
  at[curve_layout::kRange] = static_cast<float>(curve.dmax) - static_cast<float>(curve.dmin);
  at[curve_layout::kCentre] = static_cast<float>(curve.x0);
  at[curve_layout::kSteepness] = static_cast<float>(curve.k);
  at[curve_layout::kExponent] = static_cast<float>(1.0 / curve.toe);
}

void put_curves(float* at, const std::array<HdCurve, 3>& curves) {
  for (std::size_t layer = 0; layer < 3; ++layer)
    put_curve(at + layer * curve_layout::kNumbers, curves[layer]);
}

void put_black_end(float* at, const HdCurve& curve) {
  put_soft_end(at, soft_black(curve));
}

void put_white_end(float* at, const HdCurve& curve) {
  put_soft_end(at, soft_white(curve));
}

void put_look(float* at, const LookParams& look) {
  if (look.fade) {
    at[look_layout::kFades] = 1.0f;
    put(at + look_layout::kFade, *look.fade);
  }
  if (look.tints) {
    at[look_layout::kTints] = 1.0f;
    put(at + look_layout::kShadow, look.tints->shadow);
    put(at + look_layout::kHighlight, look.tints->highlight);
  }
  if (look.saturation) {
    at[look_layout::kSaturates] = 1.0f;
    at[look_layout::kSaturation] = *look.saturation;
  }
  at[look_layout::kGreenMute] = look.green_mute;
}

}  // namespace morva::gpu
