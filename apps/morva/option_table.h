// What the host can say of each option: its default and a line of meaning. The library only tells
// the keys; the rest is the host's own table, option_list.json.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace morva::host {

// The text of option_list.json.
extern const char* const option_list_json;

struct OptionEntry {
  std::string key;
  nlohmann::json default_value;  // discarded when the option has none
  nlohmann::json type;           // as JSON Schema has it where the default does not tell; or null
  std::string meaning;           // empty for a key that only the library knows

  bool has_default() const { return !default_value.is_discarded(); }
};

// One entry for each key that the library accepts, in the library's order.
std::vector<OptionEntry> option_table();

// The value of `key` in `options`, else its default.
nlohmann::json option_value(const nlohmann::json& options, const std::string& key);

}  // namespace morva::host
