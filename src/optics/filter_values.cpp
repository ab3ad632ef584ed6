#include "optics/filter_values.h"

#include <cmath>
#include <string>

#include "image/errors.h"

namespace morva {

namespace {

constexpr double kMostPlainDeg = 1e6;

}  // namespace

std::array<double, 3> channel_values(const Json& profile, const char* key,
                                     const std::array<double, 3>& fallback) {
  const Json& value = get(profile, key);
  if (value.is_null()) return fallback;
  if (value.is_array() && value.size() < 3)
    throw ProfileError(std::string(key) + ": ждали массив из 3");
  return {as_number(value[0], key), as_number(value[1], key), as_number(value[2], key)};
}

double turned_by(double own_deg, double option_deg) {
  const double sum = own_deg + option_deg;
  if (std::fabs(sum) < kMostPlainDeg) return sum;
  return std::fmod(own_deg, 360.0) + std::fmod(option_deg, 360.0);
}

}  // namespace morva
