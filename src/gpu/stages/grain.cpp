#include "gpu/stages/grain.h"

#include "film/grain.h"
#include "gpu/stages/classic_grain.h"
#include "gpu/stages/growth_grain.h"
#include "profiles/seeds.h"

namespace morva::gpu {

namespace {

constexpr const char* kLabel = "морва";

PixelSize size_of(const GImage& picture) {
  return {picture.width, picture.height};
}

std::uint64_t film_hash(const Frame& frame) {
  return hash_key(stream_key(frame.opts, kFilmStream));
}

}  // namespace

GImage add_grain(const Frame& frame, GImage density, const HdCurve& curve) {
  const StageTimer timer(frame, kLabel);
  const GrainSettings s = grain_settings(frame.stock, frame.opts);
  if (!grain_engine_is_growth(frame.opts)) {
    add_classic_grain(
        frame.device, density,
        grain_layers_bw(curve.dmin, curve.dmax, s.record, frame.um_per_px, s.size_mult, s.mult),
        film_hash(frame));
    return density;
  }
  const GrowthPlan plan = growth_plan_bw(size_of(density), curve.dmin, curve.dmax,
                                         film_long_um(frame.opts), s.record, s.mult, s.size_mult);
  if (plan.active)
    add_silver_grain(frame.device, density, plan, growth_key(frame.stock, frame.opts), frame.ctx);
  return density;
}

GImage add_grain(const Frame& frame, GImage density, const std::array<HdCurve, 3>& curves) {
  const StageTimer timer(frame, kLabel);
  const GrainSettings s = grain_settings(frame.stock, frame.opts);
  const std::array<double, 3> dmin = {curves[0].dmin, curves[1].dmin, curves[2].dmin};
  const std::array<double, 3> dmax = {curves[0].dmax, curves[1].dmax, curves[2].dmax};
  if (!grain_engine_is_growth(frame.opts)) {
    add_classic_grain(
        frame.device, density,
        grain_layers_color(dmin, dmax, s.record, frame.um_per_px, s.size_mult, s.mult),
        film_hash(frame));
    return density;
  }
  const GrowthPlan plan = growth_plan_color(size_of(density), dmin, dmax, film_long_um(frame.opts),
                                            s.record, s.mult, s.size_mult);
  if (plan.active)
    add_dye_grain(frame.device, density, plan, growth_key(frame.stock, frame.opts), frame.ctx);
  return density;
}

}  // namespace morva::gpu
