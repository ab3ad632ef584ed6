// film/growth_grain.h on the GPU: the density built anew from its grains, or from their moments.
#pragma once

#include "film/growth_grain.h"
#include "gpu/device.h"
#include "gpu/stages/plane.h"
#include "image/random.h"
#include "image/render_context.h"

namespace morva::gpu {

// By a plan that is active, the density in place: of silver one channel, of dyes three. The draws
// are those of `key`. Throws Cancelled between strips when `ctx` asks for it.
void add_silver_grain(Device& device, const GImage& density, const GrowthPlan& plan, const Key& key,
                      const RenderContext& ctx);
void add_dye_grain(Device& device, const GImage& density, const GrowthPlan& plan, const Key& key,
                   const RenderContext& ctx);

// Their steps.

// `scale` times the density above base, within the range, of a layer; `fog` without any.
GImage above_base(Device& device, const Plane& density, const GrowthPlan& plan, std::size_t layer,
                  float scale, float fog);
// Transmission by moments, of an optical depth or of the density of one layer.
GImage silver_by_moments(Device& device, const GImage& lambda, const GrowthPlan& plan,
                         std::uint64_t hash);
GImage dye_by_moments(Device& device, const GImage& density, const GrowthPlan& plan,
                      std::size_t layer, std::uint64_t hash);
// dmin - log10(max(transmission, floor)).
void read_density(Device& device, const GImage& transmission, const Plane& density, double dmin,
                  float floor);

}  // namespace morva::gpu
