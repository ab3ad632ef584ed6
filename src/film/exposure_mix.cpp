#include "film/exposure_mix.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "image/errors.h"
#include "image/planck.h"
#include "profiles/film.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

constexpr double kDaylightK = 5500.0;

void mix_infrared(Image& scene, const std::array<float, 4>& w) {
  float* p = scene.data.data();
  for (std::size_t i = 0; i < scene.pixels(); ++i, p += 3) {
    const float r = p[0], g = p[1], b = p[2];
    const float foliage = std::max(g - std::max(r, b), 0.0f);
    p[0] = ((w[3] * foliage + w[1] * g) + w[0] * r) + w[2] * b;
    p[1] = r;
    p[2] = g;
  }
}

bool is_identity(const std::array<double, 9>& matrix) {
  for (int i = 0; i < 9; ++i) {
    const double unit = i % 4 == 0 ? 1.0 : 0.0;
    if (std::fabs(matrix[i] - unit) > 1e-5 * unit + 1e-9) return false;
  }
  return true;
}

}  // namespace

double scene_temperature_k(const Json& film, const Json& options) {
  const Json& mode = get(options, "wb_mode");
  return mode.is_string() && mode == "custom" ? film_illuminant_k(film) : kDaylightK;
}

std::optional<std::array<float, 3>> film_balance_gains(const Json& film, double scene_k) {
  const double film_k = film_illuminant_k(film);
  if (std::fabs(film_k - scene_k) < 1.0) return std::nullopt;
  return temperature_gains(scene_k, film_k);
}

std::array<float, 4> ir_mix(const Json& ir_proxy) {
  const auto w = normalised_weights(get(ir_proxy, "weights"), {0.55, 0.45, 0.0}, "weights");
  const auto chlorophyll = static_cast<float>(get_number(ir_proxy, "chlorophyll", 1.6));
  return {w[0], w[1], w[2], chlorophyll};
}

std::optional<std::array<float, 9>> sensitization_matrix(const Json& film, const char* key) {
  const Json& value = get(film, key);
  if (value.is_null()) return std::nullopt;
  auto matrix = nine_numbers(value, key);
  if (!matrix) throw ProfileError(std::string(key) + ": ждали матрицу 3×3");
  for (int row = 0; row < 3; ++row) {
    double* m = matrix->data() + row * 3;
    const double sum = std::max((m[0] + m[1]) + m[2], 1e-9);
    for (int column = 0; column < 3; ++column) m[column] /= sum;
  }
  if (is_identity(*matrix)) return std::nullopt;
  return nine_floats(*matrix);
}

ExposureMix exposure_mix(const Json& film, const Json& options) {
  ExposureMix mix;
  mix.balance = film_balance_gains(film, scene_temperature_k(film, options));
  if (const Json& ir_proxy = get(film, "ir_proxy"); truthy(ir_proxy))
    mix.infrared = ir_mix(ir_proxy);
  if (const auto matrix = sensitization_matrix(film, "sensitization"))
    mix.layers.push_back(*matrix);
  if (!get_bool(options, "interlayer", false)) return mix;
  if (const auto matrix = sensitization_matrix(film, "sensitization_ds"))
    mix.layers.push_back(*matrix);
  return mix;
}

void apply_exposure_mix(Image& scene, const Json& film, const Json& options) {
  const ExposureMix mix = exposure_mix(film, options);
  if (mix.balance) scale_channels(scene, mix.balance->data());
  if (mix.infrared) mix_infrared(scene, *mix.infrared);
  for (const std::array<float, 9>& matrix : mix.layers) mix_rows(scene, matrix);
}

}  // namespace morva
