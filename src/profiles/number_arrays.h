// Arrays of numbers in profiles: colours, weights and matrices.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "profiles/json_access.h"

namespace morva {

// An array of exactly `n` numbers. Throws ProfileError with `name` in its text for any other value.
std::vector<float> read_floats(const Json& value, std::size_t n, const std::string& name);

// Exactly three numbers; nothing for any other value.
std::optional<std::array<double, 3>> three_numbers(const Json& value, const std::string& name);

// Nine numbers in row order, flat or as three rows; nothing for any other count.
std::optional<std::array<double, 9>> nine_numbers(const Json& value, const std::string& name);

// A matrix as the pixel loops take it.
std::array<float, 9> nine_floats(const std::array<double, 9>& matrix);

// Three weights divided by their sum: `value` where it is an array of exactly three, else
// `fallback`. Each is rounded to float first.
std::array<float, 3> normalised_weights(const Json& value, const std::array<double, 3>& fallback,
                                        const std::string& name);

}  // namespace morva
