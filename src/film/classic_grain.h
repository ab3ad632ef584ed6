// Grain as filtered noise on the density. Its amplitude follows the density as clusters of silver
// do: strongest in the middle of the curve, weaker towards base and towards dmax.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// Standard normals: a count in, so many floats out. Each call goes on where the last one ended.
using NormalSource = std::function<std::vector<float>(std::size_t)>;

// Amount and size of the layers R, G, B against the record's; the blue-sensitive layer is the
// fastest and the coarsest.
inline constexpr std::array<double, 3> kLayerScale = {1.0, 0.9, 1.35};
inline constexpr std::array<double, 3> kLayerSizeScale = {1.0, 1.0, 1.2};

// An amount up to here is none.
inline constexpr double kFaintestAmount = 1e-5;

// Sigma of the noise's blur, pixels, below which it is not made finer but weaker.
inline constexpr double kFinestSigmaPx = 0.45;

// And up to which it is not blurred at all.
inline constexpr double kBlurredSigmaPx = 0.05;

// Sigma by the film's record, micrometres.
double silver_noise_um(const Json& grain);
double dye_noise_um(const Json& grain);

// Three numbers of the grain record, or `fallback` where it has no such three.
std::array<double, 3> layer_numbers(const Json& grain, const char* key,
                                    const std::array<double, 3>& fallback);

// Grain of one layer, ready for its pixels.
struct GrainLayer {
  std::uint64_t channel = 0;
  double sigma_px = 0.0;  // of the Gaussian that gives the noise its size
  float range = 1.0f;     // dmax - dmin, at least 1e-6
  float dmin = 0.0f;
  float norm = 1.0f;    // grain_norm of the curve
  float amount = 0.0f;  // RMS density at 1.0 above dmin where that lies within 0.05 .. 0.95 of
                        // range, in units of the binomial deviation there
};

// Brings the amplitude at a density of 1.0 above dmin to the binomial deviation sqrt(t (1 - t)) of
// t, its place between dmin and dmax, so that one amount means the same on stocks of any range.
float grain_norm(double dmin, double dmax);

// The layers that have grain at all. `grain` is the film's record: `size_um` and `amount`, in
// colour also `layer_size_scale` and `layer_scale`. `px_um` is a pixel's size on the film in
// micrometres, `size_mult` and `mult` scale size and amount. Grain finer than a pixel is weaker,
// not sharper: below kFinestSigmaPx the amount falls in proportion.
std::vector<GrainLayer> grain_layers_bw(double dmin, double dmax, const Json& grain, double px_um,
                                        double size_mult, double mult);
std::vector<GrainLayer> grain_layers_color(const std::array<double, 3>& dmin,
                                           const std::array<double, 3>& dmax, const Json& grain,
                                           double px_um, double size_mult, double mult);

// Density in (log10 units, base and fog included), density with grain out; one channel, or three in
// the order R, G, B. Every layer draws width x height normals, in that order.
Image add_grain_bw(Image density, double dmin, double dmax, const Json& grain, double px_um,
                   double size_mult, double mult, const NormalSource& normals);
Image add_grain_color(Image density, const std::array<double, 3>& dmin,
                      const std::array<double, 3>& dmax, const Json& grain, double px_um,
                      double size_mult, double mult, const NormalSource& normals);

}  // namespace morva
