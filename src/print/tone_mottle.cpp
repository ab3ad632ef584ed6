#include "print/tone_mottle.h"

#include <algorithm>
#include <array>

#include "image/filters.h"
#include "image/pairwise_sum.h"
#include "print/sheet_field.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

struct ToneMottle {
  double amp = 0.0;
  double frame_var = 0.0;     // spread of the amplitude from one frame to the next
  double sigma_px = 0.0;      // size of a patch
  double density_bias = 0.0;  // how much more the thin parts take of it
  std::array<double, 3> warm = {1.0, 0.15, -1.0};
};

ToneMottle mottle_of_film(const Json& block, double strength, int width) {
  ToneMottle m;
  const double amp = get_number(block, "amp", 0.0) * strength;
  m.amp = amp > kWeakestMark ? std::min(amp, kStrongestMark) : 0.0;
  m.frame_var = std::min(get_number(block, "frame_var", 0.0), kStrongestMark);
  const double sigma_px = get_number(block, "scale", 0.09) * width;
  m.sigma_px = sigma_px > 3.0 ? std::min(sigma_px, std::max(3.0, 1.0 * width)) : 3.0;
  m.density_bias = get_number(block, "density_bias", 0.5);
  if (const auto warm = three_numbers(get(block, "warm"), "warm")) m.warm = *warm;
  return m;
}

Image patches(int h, int w, double sigma_px, Rng& rng) {
  Image field(h, w, 1);
  rng.fill_normals(field.data.data(), field.data.size());
  field = blur_image(field, sigma_px);
  const double deviation = std::max(1e-6, standard_deviation(field.data.data(), field.data.size()));
  for (float& v : field.data) v = static_cast<float>(static_cast<double>(v) / deviation);
  return field;
}

}  // namespace

bool has_tone_mottle(const Json& film, double strength) {
  return truthy(get(film, "tone_mottle")) && strength > 0.0001;
}

Image tone_mottle(Image positive, const Image& density, double dmin, double dmax, const Json& film,
                  double strength, Rng& rng) {
  if (!has_tone_mottle(film, strength)) return positive;
  ToneMottle m = mottle_of_film(get(film, "tone_mottle"), strength, positive.w);
  if (!(m.amp > 0.0)) return positive;
  if (m.frame_var > 1e-6) m.amp *= rng.uniform(std::max(0.0, 1.0 - m.frame_var), m.frame_var + 1.0);
  const Image field = patches(positive.h, positive.w, m.sigma_px, rng);
  const double range = std::max(dmax - dmin, 1e-6);
  const double b = m.density_bias;
  float* p = positive.data.data();
  for (std::size_t i = 0; i < field.data.size(); ++i, p += 3) {
    const double n = std::clamp(field.data[i] * 0.5 + 0.5, 0.0, 1.0);
    const double d = std::clamp((density.data[i] - dmin) / range, 0.0, 1.0);
    const double w = ((1.0 - d) * b + (1.0 - b)) * m.amp * n;
    for (int k = 0; k < 3; ++k)
      p[k] = static_cast<float>(static_cast<double>(p[k]) * (1.0 + w * m.warm[k]));
  }
  return positive;
}

}  // namespace morva
