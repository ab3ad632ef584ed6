#include "input/source_gain.h"

#include <algorithm>
#include <limits>

namespace morva {

std::optional<float> source_gain_of(const Json& options) {
  const Json& value = get(options, "_source_gain");
  if (!value.is_number()) return std::nullopt;
  constexpr double largest = std::numeric_limits<float>::max();
  const auto gain = static_cast<float>(std::clamp(value.get<double>(), -largest, largest));
  return gain == 1.0f ? std::nullopt : std::optional(gain);
}

void apply_source_gain(Image& image, const Json& options) {
  const std::optional<float> gain = source_gain_of(options);
  if (!gain) return;
  for (float& sample : image.data) sample *= *gain;
}

}  // namespace morva
