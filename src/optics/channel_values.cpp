#include "optics/channel_values.h"

#include <string>

#include "image/errors.h"

namespace morva {

std::array<double, 3> channel_values(const Json& profile, const char* key,
                                     const std::array<double, 3>& fallback) {
  const Json& value = get(profile, key);
  if (value.is_null()) return fallback;
  if (value.is_array() && value.size() < 3)
    throw ProfileError(std::string(key) + ": ждали массив из 3");
  return {as_number(value[0], key), as_number(value[1], key), as_number(value[2], key)};
}

}  // namespace morva
