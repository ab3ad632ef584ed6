// The options of one render, gathered from files, single settings and the seed.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace morva::host {

struct OptionSources {
  std::vector<std::string> files;     // JSON objects; a later one wins
  std::vector<std::string> settings;  // "key=value"; these win over the files
  std::optional<int64_t> seed;        // wins over all
};

// One JSON object. Keys are not checked here: the library knows them.
nlohmann::json gather_options(const OptionSources& sources);

}  // namespace morva::host
