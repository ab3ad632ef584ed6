#include "gpu/stages/layers.h"

#include <stdexcept>
#include <vector>

#include "film/develop_color.h"
#include "film/exposure.h"
#include "gpu/kernels/film_layout.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/film_table.h"
#include "gpu/stages/plane.h"

namespace morva::gpu {

namespace {

float sign_of(Development development) {
  return development == Development::reversal ? -1.0f : 1.0f;
}

std::vector<float> table_of(const LayerDevelopment& params) {
  using namespace neg_color_layout;
  std::vector<float> table(kNumbers);
  const float sign = sign_of(params.development);
  put_curves(&table[kCurves], params.curves);
  table[kEv] = exposure_shift(params.exposure.ev);
  table[kSign] = sign;
  for (int layer = 0; layer < 3; ++layer) {
    table[kLayerEv + layer] = layer_shift(params.exposure, layer);
    // A first developer that works harder leaves less to make dye of.
    table[kUneven + layer] = sign * kUnevenGains[layer];
  }
  put(&table[kFog], layer_fog(params.curves));
  put(&table[kMid], layer_mid(params.curves));
  if (params.matrix) put(&table[kMatrix], *params.matrix);
  table[kWiden] = params.widening.value_or(1.0f);
  if (params.retained_silver > kLeastRetainedSilver)
    table[kSilver] = static_cast<float>(params.retained_silver);
  return table;
}

std::uint32_t chemistry_of(const LayerDevelopment& params) {
  if (params.matrix) return neg_color_layout::kMixes;
  return params.widening ? neg_color_layout::kWidens : neg_color_layout::kNothing;
}

}  // namespace

bool lies_on(const GImage& uneven, const GImage& density) {
  if (uneven.buffer == nullptr) return false;
  if (uneven.height != density.height || uneven.width != density.width || uneven.channels != 1)
    throw std::logic_error("apply_uneven: поле не по размеру");
  return true;
}

GImage develop_layers(Device& device, const GImage& light, const GImage& uneven,
                      const LayerDevelopment& params) {
  const bool is_uneven = lies_on(uneven, light);
  GImage density = device.image(light.height, light.width, 3);
  launch_elements(device, Kernel::neg_color_main, pixels(light),
                  {word(pixels(light)), is_uneven ? 1u : 0u, chemistry_of(params)},
                  table_of(params),
                  {light.buffer.get(), uneven.buffer.get(), density.buffer.get()});
  return density;
}

}  // namespace morva::gpu
