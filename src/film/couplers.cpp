#include "film/couplers.h"

#include <cmath>

#include "image/errors.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

constexpr double kLeastSaturation = 0.0001;

void mix_differences(Image& density, const std::array<float, 9>& m) {
  float* p = density.data.data();
  for (std::size_t i = 0; i < density.pixels(); ++i, p += 3) {
    const float mean = layer_mean(p);
    const float r = p[0] - mean, g = p[1] - mean, b = p[2] - mean;
    for (int row = 0; row < 3; ++row)
      p[row] = ((m[row * 3] * r + m[row * 3 + 1] * g) + m[row * 3 + 2] * b) + mean;
  }
}

void widen_differences(Image& density, double saturation, const std::array<float, 3>& grey) {
  const auto factor = static_cast<float>(1.0 + saturation);
  float* p = density.data.data();
  for (std::size_t i = 0; i < density.pixels(); ++i, p += 3) {
    for (int k = 0; k < 3; ++k) p[k] -= grey[k];
    const float mean = layer_mean(p);
    for (int k = 0; k < 3; ++k) p[k] = ((p[k] - mean) * factor + grey[k]) + mean;
  }
}

// Nothing for null.
std::optional<std::array<float, 9>> rounded_matrix(const Json& value) {
  if (value.is_null()) return std::nullopt;
  const auto matrix = nine_numbers(value, "couplers.matrix");
  if (!matrix) throw ProfileError("couplers.matrix: ждали 3×3");
  return nine_floats(*matrix);
}

}  // namespace

std::optional<std::array<float, 9>> interlayer_matrix(const Json& film, const Json& options) {
  if (!get_bool(options, "interlayer", false)) return std::nullopt;
  return rounded_matrix(get(get_object(film, "couplers"), "matrix_ds"));
}

std::optional<std::array<float, 9>> coupler_matrix(const Json& film, const Json& options) {
  const Json& matrix = get(get_object(film, "couplers"), "matrix");
  return matrix.is_null() ? interlayer_matrix(film, options) : rounded_matrix(matrix);
}

void widen_dyes(Image& density, double saturation, const std::array<float, 3>& grey) {
  if (std::fabs(saturation) > kLeastSaturation) widen_differences(density, saturation, grey);
}

void apply_couplers(Image& density, const std::optional<std::array<float, 9>>& matrix,
                    double saturation) {
  if (matrix)
    mix_differences(density, *matrix);
  else if (saturation > 0.0)
    widen_differences(density, saturation, {});
}

}  // namespace morva
