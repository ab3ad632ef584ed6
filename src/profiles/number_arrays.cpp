#include "profiles/number_arrays.h"

#include "image/errors.h"

namespace morva {

std::vector<float> read_floats(const Json& value, std::size_t n, const std::string& name) {
  if (!value.is_array() || value.size() != n)
    throw ProfileError(name + ": ждали массив из " + std::to_string(n));
  std::vector<float> numbers;
  for (const Json& element : value)
    numbers.push_back(static_cast<float>(as_number(element, name)));
  return numbers;
}

std::optional<std::array<double, 3>> three_numbers(const Json& value, const std::string& name) {
  if (!value.is_array() || value.size() != 3) return std::nullopt;
  return std::array{as_number(value[0], name), as_number(value[1], name),
                    as_number(value[2], name)};
}

std::optional<std::array<double, 9>> nine_numbers(const Json& value, const std::string& name) {
  if (!value.is_array()) return std::nullopt;
  std::vector<double> numbers;
  for (const Json& element : value) {
    if (!element.is_array()) {
      numbers.push_back(as_number(element, name));
      continue;
    }
    for (const Json& number : element) numbers.push_back(as_number(number, name));
  }
  if (numbers.size() != 9) return std::nullopt;
  std::array<double, 9> matrix;
  std::copy(numbers.begin(), numbers.end(), matrix.begin());
  return matrix;
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
