#include "options_command.h"

#include <string>
#include <vector>

#include "console.h"
#include "option_table.h"

namespace morva::host {
namespace {

constexpr std::size_t kKeyColumn = 26;
constexpr std::size_t kDefaultColumn = 12;

void print_as_json(const std::vector<OptionEntry>& table) {
  nlohmann::ordered_json array = nlohmann::ordered_json::array();
  for (const OptionEntry& option : table) {
    nlohmann::ordered_json entry = {{"key", option.key}};
    if (option.has_default()) entry["default"] = option.default_value;
    if (!option.type.is_null()) entry["type"] = option.type;
    entry["meaning"] = option.meaning;
    array.push_back(std::move(entry));
  }
  print_json(array);
}

void print_as_lines(const std::vector<OptionEntry>& table) {
  for (const OptionEntry& option : table) {
    const std::string value = option.has_default() ? option.default_value.dump() : "-";
    print_line(padded(option.key, kKeyColumn) + padded(value, kDefaultColumn) + option.meaning);
  }
}

}  // namespace

void run(const OptionsRequest& request) {
  const std::vector<OptionEntry> table = option_table();
  if (request.as_json) {
    print_as_json(table);
  } else {
    print_as_lines(table);
  }
}

}  // namespace morva::host
