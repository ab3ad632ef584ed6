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

void widen_differences(Image& density, float factor, const std::array<float, 3>& grey) {
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

std::optional<float> dye_widening(double saturation) {
  if (!(std::fabs(saturation) > kLeastSaturation)) return std::nullopt;
  return static_cast<float>(1.0 + saturation);
}

std::optional<float> coupler_widening(double saturation) {
  if (!(saturation > 0.0)) return std::nullopt;
  return static_cast<float>(1.0 + saturation);
}

void widen_dyes(Image& density, double saturation, const std::array<float, 3>& grey) {
  if (const auto factor = dye_widening(saturation)) widen_differences(density, *factor, grey);
}

void apply_couplers(Image& density, const std::optional<std::array<float, 9>>& matrix,
                    double saturation) {
  if (matrix)
    mix_differences(density, *matrix);
  else if (const auto factor = coupler_widening(saturation))
    widen_differences(density, *factor, {});
}

}  // namespace morva
