#include "input/source_gain.h"

namespace morva {

void apply_source_gain(Image& image, const Json& options) {
  const Json& value = get(options, "_source_gain");
  if (!value.is_number()) return;
  const auto gain = static_cast<float>(value.get<double>());
  if (gain == 1.0f) return;
  for (float& sample : image.data) sample *= gain;
}

}  // namespace morva
