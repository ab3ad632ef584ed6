#include "optics/cut_filter.h"

#include <algorithm>
#include <array>

#include "optics/filter_values.h"

namespace morva {

namespace {

constexpr double kOpaque = 1e-6;  // least transmission of a channel
constexpr double kDarkest = 1e-9;

// How much each channel counts for the exposure of the film.
std::array<double, 3> exposure_weights(const Json& film) {
  if (get_text_or(film, "type", "") != "bw")
    return {static_cast<double>(kLumaR), static_cast<double>(kLumaG), static_cast<double>(kLumaB)};
  const auto w = channel_values(film, "spectral_weights", {0.3, 0.36, 0.34});
  const double sum = w[0] + w[1] + w[2];
  return {w[0] / sum, w[1] / sum, w[2] / sum};
}

}  // namespace

std::array<float, 3> cut_gains(const Json& filter, const Json& film, double amount) {
  std::array<double, 3> gains = channel_values(filter, "gains", {1.0, 1.0, 1.0});
  for (double& gain : gains) gain = std::max(gain, kOpaque);
  const std::array<double, 3> w = exposure_weights(film);
  const double exposure = std::max(kDarkest, w[0] * gains[0] + w[1] * gains[1] + w[2] * gains[2]);
  const double a = std::clamp(amount, 0.0, 1.0);
  std::array<float, 3> compensated;
  for (std::size_t k = 0; k < 3; ++k)
    compensated[k] = static_cast<float>((gains[k] / exposure - 1.0) * a + 1.0);
  return compensated;
}

Image apply_cut_filter(Image image, const Json& filter, const Json& film, double amount) {
  scale_channels(image, cut_gains(filter, film, amount).data());
  return image;
}

}  // namespace morva
