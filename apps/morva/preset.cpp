#include "preset.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "host_error.h"
#include "json_file.h"
#include "nearest_names.h"
#include "profile_folder.h"
#include "setting_in_picture.h"
#include "source_exposure.h"
#include "terminal_text.h"

namespace morva::host {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;

// The title and the description are for listings, the version is that of the writer.
constexpr std::array kKeys = {"title", "description", "morva",           "source", "film",
                              "lens",  "paper",       "source_exposure", "options"};

void refuse_unknown_keys(const Json& object, const std::string& file) {
  for (const auto& [key, value] : object.items()) {
    if (std::find(kKeys.begin(), kKeys.end(), key) != kKeys.end()) continue;
    throw HostError(
        MORVA_OPTIONS_FAILED,
        file + ": a preset has film, lens, paper, source_exposure and options, not " + key);
  }
}

std::optional<std::string> text_in(const Json& object, const char* key, const std::string& file) {
  const auto found = object.find(key);
  if (found == object.end()) return std::nullopt;
  if (!found->is_string())
    throw HostError(MORVA_OPTIONS_FAILED, file + ": " + key + " is not a text");
  return found->get<std::string>();
}

std::optional<std::string> name_in(const Json& object, const char* key, const std::string& file) {
  std::optional<std::string> name = text_in(object, key, file);
  if (name && on_one_line(*name) != *name)
    throw HostError(MORVA_OPTIONS_FAILED, file + ": " + key + " holds a control character");
  return name;
}

std::optional<std::string> metering_in(const Json& object, const std::string& file) {
  const std::optional<std::string> mode = name_in(object, "source_exposure", file);
  if (mode && !is_metering_mode(*mode))
    throw HostError(MORVA_OPTIONS_FAILED, file + ": source_exposure cannot be " + *mode);
  return mode;
}

constexpr const char* kMeteringOption = "src_exposure";

bool tells_metering(const Preset& preset) {
  return preset.source_exposure || preset.options.contains(kMeteringOption) ||
         preset.options.contains(kSourceGain);
}

void forget_metering(Preset& preset) {
  preset.source_exposure.reset();
  preset.options.erase(kMeteringOption);
  preset.options.erase(kSourceGain);
}

std::string file_of(const std::string& name) {
  for (const fs::path& folder : section_folders("presets")) {
    const fs::path file = folder / (name + ".json");
    std::error_code error;
    if (fs::is_regular_file(file, error)) return file.string();
  }
  throw HostError(MORVA_PROFILE_FAILED, "no preset " + name,
                  suggestion(name, profile_names("presets")) +
                      "morva list presets names them; a file's name has a dot or a slash in it");
}

Preset read_preset(const std::string& file) {
  std::error_code error;
  if (!fs::exists(file, error)) throw HostError(MORVA_BAD_ARGUMENT, "no such preset file: " + file);
  // A pipe can be read only once, and holds JSON.
  if (fs::is_regular_file(file, error) && is_picture(file)) return preset_in_picture(file);
  return preset_of(json_object_in(file, "preset file"), file);
}

}  // namespace

Preset preset_of(const Json& object, const std::string& file) {
  refuse_unknown_keys(object, file);
  Preset preset;
  preset.film = name_in(object, "film", file);
  preset.lens = name_in(object, "lens", file);
  preset.source_exposure = metering_in(object, file);
  preset.source = text_in(object, "source", file).value_or("");
  const bool own_paper = object.contains("paper") && object["paper"].is_null();
  preset.paper = own_paper ? std::optional(std::string()) : name_in(object, "paper", file);
  preset.options = object.value("options", Json::object());
  if (!preset.options.is_object())
    throw HostError(MORVA_OPTIONS_FAILED, file + ": options are not a JSON object");
  return preset;
}

OrderedJson in_json(const Preset& preset) {
  OrderedJson object = OrderedJson::object();
  if (!preset.source.empty()) object["source"] = preset.source;
  if (preset.film) object["film"] = *preset.film;
  if (preset.lens) object["lens"] = *preset.lens;
  if (preset.paper)
    object["paper"] = preset.paper->empty() ? OrderedJson() : OrderedJson(*preset.paper);
  if (preset.source_exposure) object["source_exposure"] = *preset.source_exposure;
  object["options"] = preset.options;
  return object;
}

void put_over(Preset& below, const Preset& above) {
  if (tells_metering(above)) forget_metering(below);
  if (above.film) below.film = above.film;
  if (above.lens) below.lens = above.lens;
  if (above.paper) below.paper = above.paper;
  if (above.source_exposure) below.source_exposure = above.source_exposure;
  below.options.update(above.options);
}

Preset find_preset(const std::string& name_or_file) {
  return read_preset(names_preset_file(name_or_file) ? name_or_file : file_of(name_or_file));
}

Preset preset_in_picture(const std::string& file) {
  const std::string text = setting_in_picture(file);
  std::string complaint;
  const Json object = parse_json(text, complaint);
  if (!object.is_object())
    throw HostError(MORVA_OPTIONS_FAILED, "the picture does not tell how it was rendered: " + file);
  return preset_of(object, file);
}

}  // namespace morva::host
