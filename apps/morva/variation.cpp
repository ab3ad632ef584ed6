#include "variation.h"

#include <algorithm>

#include "host_error.h"
#include "profile_folder.h"

namespace morva::host {
namespace {

struct NamedThing {
  const char* key;
  const char* section;
};
constexpr NamedThing kNamedThings[] = {
    {"film", "films"}, {"lens", "lenses"}, {"paper", "papers"}, {"preset", "presets"}};

const NamedThing* named_thing(const std::string& key) {
  for (const NamedThing& thing : kNamedThings)
    if (key == thing.key) return &thing;
  return nullptr;
}

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> parts(1);
  int depth = 0;
  bool quoted = false;
  for (const char letter : text) {
    if (letter == '"') quoted = !quoted;
    if (!quoted && (letter == '[' || letter == '{')) ++depth;
    if (!quoted && (letter == ']' || letter == '}')) --depth;
    if (letter == ',' && depth == 0 && !quoted)
      parts.emplace_back();
    else
      parts.back() += letter;
  }
  return parts;
}

bool stands_as_flag(const SettingChoice& choice, const std::string& key) {
  const OptionFlags& flags = choice.options.flags;
  return (key == "seed" && flags.seed) || (key == "crop" && !flags.crop.empty()) ||
         (key == "crop_angle" && flags.angle) || (key == "rotate" && flags.rotate) ||
         (key == "mirror" && flags.mirror) || (key == "src_exposure" && choice.source_exposure);
}

}  // namespace

Variation variation_of(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0 || equals + 1 == text.size())
    throw HostError(MORVA_BAD_ARGUMENT, "--vary takes key=a,b,c, not: " + text);
  Variation variation{text.substr(0, equals), split(text.substr(equals + 1))};
  if (std::find(variation.values.begin(), variation.values.end(), "") != variation.values.end())
    throw HostError(MORVA_BAD_ARGUMENT, "--vary has an empty value: " + text);
  const NamedThing* thing = named_thing(variation.key);
  if (thing != nullptr && variation.values == std::vector<std::string>{"*"})
    variation.values = profile_names(thing->section);
  return variation;
}

void refuse_flag_of(const Variation& variation, const SettingChoice& choice) {
  if (stands_as_flag(choice, variation.key))
    throw HostError(MORVA_BAD_ARGUMENT,
                    variation.key + " is varied and has a flag of its own, which would win");
}

void vary(SettingChoice& choice, const std::string& key, const std::string& value) {
  if (key == "film")
    choice.film = value;
  else if (key == "lens")
    choice.lens = value;
  else if (key == "paper")
    choice.paper = value;
  else if (key == "preset")
    choice.presets.push_back(value);
  else
    choice.options.settings.push_back(key + "=" + value);
}

std::string label_of(const std::string& key, const std::string& value) {
  return named_thing(key) != nullptr ? value : key + " " + value;
}

}  // namespace morva::host
