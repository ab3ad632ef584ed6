#include "option_table.h"

#include <morva.h>

#include <map>
#include <sstream>

namespace morva::host {
namespace {

using Json = nlohmann::json;

const std::map<std::string, OptionEntry>& known_options() {
  static const std::map<std::string, OptionEntry> known = [] {
    std::map<std::string, OptionEntry> entries;
    for (const Json& entry : Json::parse(option_list_json)) {
      const std::string key = entry.at("key");
      entries[key] = {key, entry.value("default", Json(Json::value_t::discarded)),
                      entry.value("type", Json()), entry.at("meaning")};
    }
    return entries;
  }();
  return known;
}

std::string keys_of_library() {
  const int32_t length = morva_option_keys(nullptr, 0);
  std::string keys(static_cast<std::size_t>(length) + 1, '\0');
  morva_option_keys(keys.data(), length + 1);
  keys.pop_back();
  return keys;
}

OptionEntry entry_of(const std::string& key) {
  const auto known = known_options().find(key);
  if (known != known_options().end()) return known->second;
  return {key, Json(Json::value_t::discarded), Json(), ""};
}

}  // namespace

std::vector<OptionEntry> option_table() {
  std::vector<OptionEntry> table;
  std::istringstream keys(keys_of_library());
  for (std::string key; std::getline(keys, key, ',');) table.push_back(entry_of(key));
  return table;
}

Json option_value(const Json& options, const std::string& key) {
  const auto given = options.find(key);
  return given != options.end() ? *given : entry_of(key).default_value;
}

}  // namespace morva::host
