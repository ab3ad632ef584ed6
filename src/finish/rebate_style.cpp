#include "finish/rebate_style.h"

#include <cmath>

namespace morva {

namespace {

constexpr RebatePreset kThin = {.frame_frac = 0.016,
                                .rough = 1.0,
                                .picture_corner = 0.008,
                                .gate_corner = 0.5,
                                .wander = 0.028,
                                .fine_wander = 0.0,
                                .bow = 0.0,
                                .bite_rate = 0.0,
                                .position_jitter = 0.045,
                                .edge_floor = 0.6,
                                .soft_width = 0.16,
                                .soft_spread = 0.8,
                                .inner_limit = 0.26};

constexpr RebatePreset kWide = {.frame_frac = 0.036,
                                .rough = 1.0,
                                .picture_corner = 0.008,
                                .gate_corner = 0.62,
                                .wander = 0.05,
                                .fine_wander = 0.0,
                                .bow = 0.0,
                                .bite_rate = 0.0,
                                .position_jitter = 0.045,
                                .edge_floor = 0.55,
                                .soft_width = 0.15,
                                .soft_spread = 0.9,
                                .inner_limit = 0.26};

}  // namespace

RebateStyle rebate_style(const Json& options) {
  RebateStyle style;
  style.name = get_text_or(options, "frame_style", "none");
  style.width = get_number(options, "frame", 0.0);
  style.rough = get_number(options, "frame_rough", 1.0);
  if (style.name == "thin") style.preset = &kThin;
  if (style.name == "wide") style.preset = &kWide;
  if (style.preset == nullptr) return style;
  if (style.width <= 0.0) style.width = style.preset->frame_frac;
  if (std::fabs(style.rough - 1.0) <= 1e-9) style.rough = style.preset->rough;
  return style;
}

}  // namespace morva
