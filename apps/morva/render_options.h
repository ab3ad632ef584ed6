// The options of one render, gathered from files, single settings and flags.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace morva::host {

// Flags that stand for an option each.
struct OptionFlags {
  std::optional<int64_t> seed;
  std::vector<double> crop;     // x, y, width, height, fractions of the picture; or empty
  std::optional<double> angle;  // degrees clockwise
  std::optional<int> rotate;    // degrees clockwise: 0, 90, 180 or 270
  bool mirror = false;
};

struct OptionSources {
  std::vector<std::string> files;     // JSON objects; a later one wins
  std::vector<std::string> settings;  // "key=value"; these win over the files
  OptionFlags flags;                  // win over all
};

// 2, true, null and [1, 2] are JSON; whatever is not stands as the text that it is.
nlohmann::json option_value_of(const std::string& text);

// Puts them over `options`. Keys are not checked here: the library knows them.
void add_options(const OptionSources& sources, nlohmann::json& options);

}  // namespace morva::host
