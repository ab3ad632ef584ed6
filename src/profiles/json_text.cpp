#include "profiles/json_text.h"

#include <stdexcept>
#include <string>

namespace morva {

Json parse_json(std::string_view text) {
  const auto bound_depth = [](int depth, Json::parse_event_t event, Json&) {
    const bool opens =
        event == Json::parse_event_t::object_start || event == Json::parse_event_t::array_start;
    if (opens && depth >= kDeepestNesting)
      throw std::runtime_error("nested deeper than " + std::to_string(kDeepestNesting));
    return true;
  };
  return Json::parse(text, bound_depth);
}

}  // namespace morva
