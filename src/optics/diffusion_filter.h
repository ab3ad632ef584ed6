// A diffusion filter: fine texture in the glass spreads part of the highlights around them (bloom)
// and scatters a little of all light evenly over the picture (haze).
#pragma once

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

struct Diffusion {
  double bloom;      // share of the light above the threshold that spreads
  double haze;       // share of the mean luminance that lies over the picture
  double radius_px;  // sigma of the bloom
  float threshold;   // linear level

  // What haze leaves of a sample, and what it adds to each.
  float contrast() const { return static_cast<float>(1.0 - haze / 2.0); }
  float veil(double mean) const { return static_cast<float>(mean * haze); }
};

// Effects too small to show are 0.
Diffusion read_diffusion(const Json& filter, double amount, std::int32_t width_px);

// Over the pixels where it is finite.
double mean_luminance(const Image& image);

// Scene-linear RGB in and out. `amount` multiplies both effects and is not bounded. Haze takes half
// its share from the contrast and adds the whole of it to the mean, so it also brightens. Samples
// that are not finite neither bloom nor count for the mean.
Image apply_diffusion_filter(Image image, const Json& filter, double amount);

}  // namespace morva
