// Numbers in texts, with a point whatever the host's locale writes.
#pragma once

#include <charconv>
#include <string>

namespace morva::gpu {

// `value` with `places` digits after the point.
inline std::string decimal(double value, int places) {
  char text[400];  // the largest double has 309 digits
  const auto end =
      std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, places).ptr;
  return {text, end};
}

}  // namespace morva::gpu
