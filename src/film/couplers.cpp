#include "film/couplers.h"

#include <algorithm>

#include "image/errors.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

void mix_differences(Image& density, const std::array<float, 9>& m) {
  float* p = density.data.data();
  for (std::size_t i = 0; i < density.pixels(); ++i, p += 3) {
    const float mean = layer_mean(p);
    const float r = p[0] - mean, g = p[1] - mean, b = p[2] - mean;
    for (int row = 0; row < 3; ++row)
      p[row] = ((m[row * 3] * r + m[row * 3 + 1] * g) + m[row * 3 + 2] * b) + mean;
  }
}

void widen_differences(Image& density, float factor) {
  float* p = density.data.data();
  for (std::size_t i = 0; i < density.pixels(); ++i, p += 3) {
    const float mean = layer_mean(p);
    for (int k = 0; k < 3; ++k) p[k] = (p[k] - mean) * factor + mean;
  }
}

}  // namespace

std::optional<std::array<float, 9>> coupler_matrix(const Json& film, const Json& options) {
  const Json& couplers = get_object(film, "couplers");
  const Json* value = &get(couplers, "matrix");
  if (value->is_null() && get_bool(options, "interlayer", false))
    value = &get(couplers, "matrix_ds");
  if (value->is_null()) return std::nullopt;
  const auto matrix = nine_numbers(*value, "couplers.matrix");
  if (!matrix) throw ProfileError("couplers.matrix: ждали 3×3");
  std::array<float, 9> rounded;
  std::transform(matrix->begin(), matrix->end(), rounded.begin(),
                 [](double element) { return static_cast<float>(element); });
  return rounded;
}

void apply_couplers(Image& density, const std::optional<std::array<float, 9>>& matrix,
                    double saturation) {
  if (matrix)
    mix_differences(density, *matrix);
  else if (saturation > 0.0)
    widen_differences(density, static_cast<float>(1.0 + saturation));
}

}  // namespace morva
