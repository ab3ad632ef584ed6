#include "profiles/development_presets.h"

#include <vector>

#include "image/errors.h"

namespace morva {

namespace {

struct PresetTable {
  std::string title;               // as it stands after "не вариант"
  std::vector<std::string> names;  // in the order of the message
  Json presets;
};

const PresetTable& c41_table() {
  static const PresetTable table{"C-41", {"standard", "hand", "bleach_bypass"}, Json::parse(R"({
    "standard": {},
    "hand": {"layer_gamma": {"r": 1.0, "g": 0.97, "b": 0.93}, "fog": 0.015, "grain_amount": 1.15},
    "bleach_bypass": {"retained_silver": 0.38, "fog": 0.01, "grain_amount": 1.35}
  })")};
  return table;
}

const PresetTable& collodion_table() {
  static const PresetTable table{"проявки коллодия", {"iron", "pyro"}, Json::parse(R"({
    "iron": {},
    "pyro": {"gamma": 1.18, "dmax": 1.12, "silver_tint": [0.90, 0.84, 0.74]}
  })")};
  return table;
}

const PresetTable& black_and_white_table() {
  static const PresetTable table{
      "проявки", {"standard", "acutance", "fine", "stand"}, Json::parse(R"({
    "standard": {},
    "acutance": {"grain_amount": 1.15, "grain_size": 0.95,
                 "adjacency": 0.22, "adjacency_um": 110.0, "adjacency_sat": 0.30},
    "fine": {"grain_amount": 0.78, "grain_size": 1.05, "gamma": 0.96},
    "stand": {"gamma": 0.93, "dmax": 0.94, "fog": 0.02,
              "adjacency": 0.30, "adjacency_um": 180.0, "adjacency_sat": 0.16, "grain_amount": 1.05}
  })")};
  return table;
}

const PresetTable& table_of(const std::string& type) {
  if (type == "color") return c41_table();
  if (type == "collodion") return collodion_table();
  return black_and_white_table();
}

}  // namespace

const Json& development_preset(const std::string& type, const std::string& dev) {
  const PresetTable& table = table_of(type);
  if (const auto it = table.presets.find(dev); it != table.presets.end()) return *it;
  std::string text = "«" + dev + "» — не вариант " + table.title + ". Доступно: ";
  for (std::size_t i = 0; i < table.names.size(); ++i)
    text += (i == 0 ? "" : ", ") + table.names[i];
  throw OptionsError(text);
}

}  // namespace morva
