// Grain by growth: the density is not disturbed but built anew from grains that are drawn one by
// one, and read back from the light that they let through. So grain changes with density as it does
// in film, and its size against the pixel decides how a picture looks. Where a pixel is large
// against its grains their moments stand for them.
#pragma once

#include <array>
#include <optional>

#include "film/grain_moments.h"
#include "film/growth_simulation.h"
#include "image/image.h"
#include "image/pixel_size.h"
#include "image/random.h"
#include "image/render_context.h"
#include "profiles/json_access.h"

namespace morva {

// One per render and film. Colour uses three of each array, black and white the first.
struct GrowthPlan {
  bool active = false;               // false: the density stays as it is
  bool analytic = false;             // moments instead of sub-samples
  int ss = 1;                        // sub-samples in a pixel's side
  double um_per_px = 1.0;            // film micrometres
  double sub_um = 1.0;               // and of a sub-sample
  double r_um = 3.0;                 // reach of the rate's variations
  double blur_px = 0.0;              // the spot that reads the film, pixels
  std::array<double, 3> sigma = {};  // spread of the logarithm of the rate
  std::array<double, 3> dmin = {};   // base and fog
  std::array<float, 3> range = {};   // dmax - dmin, at least 1e-6
  std::array<float, 3> floor = {};   // transmission of the full range
  double shape = 1.0;                // of the reach against a pixel
  double n_cells = 1.0;              // sub-samples in a pixel's area
  // Silver.
  double t = 0.25;  // side of a grain's shadow, micrometres
  double a = 1.0;   // its share of a sub-sample
  double k = 1.0;   // 1 / (1 - exp(-a))
  // Dye.
  std::array<double, 3> cloud_um = {};  // sigma of a dye cloud
  std::array<double, 3> unit = {};      // density of one grain over a sub-sample
};

// Size of a clump of grains by the film's record, micrometres.
double silver_clump_um(const Json& grain);
double dye_clump_um(const Json& grain);

// Reach of the rate's variations on the film, micrometres, from the film's record and as the
// options scale it; nothing where the film has no grain to show.
std::optional<double> silver_grain_reach_um(const Json& grain, double mult, double size_mult);
std::optional<double> dye_grain_reach_um(const Json& grain, double mult, double size_mult);

// Whether a long side of that length can be a film's.
bool grain_has_raster(double long_um);

// Whether a pixel of `um_per_px` is so large against it that moments stand for the grains.
bool grain_by_moments(double um_per_px, double reach_um);

// For a picture of that size.
GrowthPlan growth_plan_bw(PixelSize picture, double dmin, double dmax, double long_um,
                          const Json& grain, double mult, double size_mult);
GrowthPlan growth_plan_color(PixelSize picture, const std::array<double, 3>& dmin,
                             const std::array<double, 3>& dmax, double long_um, const Json& grain,
                             double mult, double size_mult);

// What the plan makes of its grains: by moments, or one by one.
vector::SilverMoments moments_of(const GrowthPlan& plan);
SubSampling sub_sampling(const GrowthPlan& plan);
SilverGrains silver_grains(const GrowthPlan& plan);
DyeGrains dye_grains(const GrowthPlan& plan, std::size_t layer);

// Optical depth of grains that need no light.
inline constexpr double kFogLambda = 0.05;

// The draws of a dye layer.
Key layer_key(const Key& key, std::size_t layer);

// Whether the spot that reads the film is wide enough to blur the grain.
bool spot_blurs(const GrowthPlan& plan);

// Density in (base and fog included), density with grain out. `long_um` is the length of the long
// side on the film, micrometres; `grain` the film's record; `mult` and `size_mult` scale its amount
// and size. The draws are those of `key`. Throws Cancelled between strips when `ctx` asks for it.
Image add_grain_growth_bw(Image density, double dmin, double dmax, double long_um, const Key& key,
                          const Json& grain, double mult, double size_mult,
                          const RenderContext& ctx);
Image add_grain_growth_color(Image density, const std::array<double, 3>& dmin,
                             const std::array<double, 3>& dmax, double long_um, const Key& key,
                             const Json& grain, double mult, double size_mult,
                             const RenderContext& ctx);

}  // namespace morva
