#include "profiles/number_arrays.h"

#include <algorithm>

#include "image/errors.h"

namespace morva {

std::vector<float> read_floats(const Json& value, std::size_t n, const std::string& name) {
  if (!value.is_array() || value.size() != n)
    throw ProfileError(name + ": ждали массив из " + std::to_string(n));
  std::vector<float> numbers;
  for (const Json& element : value) numbers.push_back(static_cast<float>(as_number(element, name)));
  return numbers;
}

std::optional<std::array<double, 3>> three_numbers(const Json& value, const std::string& name) {
  if (!value.is_array() || value.size() != 3) return std::nullopt;
  return std::array{as_number(value[0], name), as_number(value[1], name),
                    as_number(value[2], name)};
}

std::optional<std::array<double, 9>> nine_numbers(const Json& value, const std::string& name) {
  if (!value.is_array()) return std::nullopt;
  std::array<double, 9> matrix;
  if (value.size() == 9) {
    for (int i = 0; i < 9; ++i) matrix[i] = as_number(value[i], name);
    return matrix;
  }
  if (value.size() != 3) return std::nullopt;
  for (int row = 0; row < 3; ++row) {
    const auto numbers = three_numbers(value[row], name);
    if (!numbers) return std::nullopt;
    std::copy(numbers->begin(), numbers->end(), &matrix[row * 3]);
  }
  return matrix;
}

std::array<float, 9> nine_floats(const std::array<double, 9>& matrix) {
  std::array<float, 9> rounded;
  std::transform(matrix.begin(), matrix.end(), rounded.begin(),
                 [](double element) { return static_cast<float>(element); });
  return rounded;
}

std::array<float, 3> normalised_weights(const Json& value, const std::array<double, 3>& fallback,
                                        const std::string& name) {
  const std::array<double, 3> weights = three_numbers(value, name).value_or(fallback);
  const auto r = static_cast<float>(weights[0]);
  const auto g = static_cast<float>(weights[1]);
  const auto b = static_cast<float>(weights[2]);
  const float sum = (r + g) + b;
  return {r / sum, g / sum, b / sum};
}

}  // namespace morva
