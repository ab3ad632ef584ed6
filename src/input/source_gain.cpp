#include "input/source_gain.h"

#include <algorithm>
#include <limits>

namespace morva {

void apply_source_gain(Image& image, const Json& options) {
  const Json& value = get(options, "_source_gain");
  if (!value.is_number()) return;
  constexpr double largest = std::numeric_limits<float>::max();
  const auto gain = static_cast<float>(std::clamp(value.get<double>(), -largest, largest));
  if (gain == 1.0f) return;
  for (float& sample : image.data) sample *= gain;
}

}  // namespace morva
