#include "render_setting.h"

#include <filesystem>

#include "host_error.h"
#include "option_table.h"
#include "picture_reader.h"
#include "source_exposure.h"
#include "standard_streams.h"

namespace morva::host {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

// Where it stood when the picture was rendered, else as seen from the picture.
std::string source_of(const Preset& told, const std::string& picture) {
  if (told.source.empty() || told.source == kStandardStream)
    throw HostError(MORVA_BAD_ARGUMENT,
                    "the picture does not tell what it was rendered from: " + picture);
  std::error_code error;
  const fs::path beside = fs::path(picture).parent_path() / told.source;
  return !fs::exists(told.source, error) && fs::exists(beside, error) ? beside.string()
                                                                      : told.source;
}

Preset flags_of(const SettingChoice& choice) {
  Preset flags;
  flags.film = choice.film;
  flags.lens = choice.lens;
  flags.paper = choice.paper;
  flags.source_exposure = choice.source_exposure;
  add_options(choice.options, flags.options);
  return flags;
}

}  // namespace

CheckedSetting gather_setting(const SettingChoice& choice) {
  CheckedSetting gathered;
  gathered.setting.input = choice.input;
  Preset all;
  if (choice.again) {
    all = preset_in_picture(file_behind(choice.input));
    gathered.setting.input = source_of(all, choice.input);
  }
  for (const std::string& name : choice.presets) put_over(all, find_preset(name));
  put_over(all, flags_of(choice));

  if (!all.options.contains("format")) all.options["format"] = nullptr;
  if (!all.options.contains("seed")) all.options["seed"] = option_value(all.options, "seed");
  options_text(all.options);  // refuses what is not UTF-8
  RenderSetting& setting = gathered.setting;
  setting.film = all.film.value_or(setting.film);
  setting.lens = all.lens.value_or(setting.lens);
  setting.paper = all.paper.value_or(setting.paper);
  setting.source_exposure = all.source_exposure.value_or("");
  gathered.options = std::move(all.options);
  return gathered;
}

CheckedSetting check_setting(const SettingChoice& choice) {
  if (choice.again) check_input_file(choice.input);
  CheckedSetting checked = gather_setting(choice);
  const RenderSetting& setting = checked.setting;
  check_input(setting.input);
  checked.metering =
      metering_mode(setting.source_exposure, checked.options, is_scene_linear(setting.input));
  return checked;
}

Preset written_down(const CheckedSetting& checked) {
  const RenderSetting& setting = checked.setting;
  Preset preset;
  preset.film = setting.film;
  preset.lens = setting.lens;
  preset.paper = setting.paper;
  if (!setting.source_exposure.empty()) preset.source_exposure = setting.source_exposure;
  preset.options = checked.options;
  preset.source = setting.input;
  return preset;
}

std::string options_text(const Json& options) {
  try {
    return options.dump();
  } catch (const Json::exception&) {
    throw HostError(MORVA_OPTIONS_FAILED, "an option's text is not UTF-8");
  }
}

void report_setting(const RenderSetting& setting, PixelSize source,
                    nlohmann::ordered_json& report) {
  using OrderedJson = nlohmann::ordered_json;
  report["input"] = {{"file", setting.input}, {"width", source.width}, {"height", source.height}};
  report["film"] = setting.film;
  report["lens"] = setting.lens;
  report["paper"] = setting.paper.empty() ? OrderedJson() : OrderedJson(setting.paper);
}

}  // namespace morva::host
