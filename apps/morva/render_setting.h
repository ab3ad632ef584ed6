// The part of a command line that says what is rendered and how, whether it is rendered or only
// planned.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "picture.h"
#include "preset.h"
#include "render_options.h"

namespace morva::host {

// As the command line has it. What is given there wins over the presets.
struct SettingChoice {
  std::string input;
  bool again = false;  // `input` was rendered by this host: its own source, rendered as it was
  std::vector<std::string> presets;  // names or files; a later one wins
  std::optional<std::string> film, lens, paper;
  std::optional<std::string> source_exposure;
  OptionSources options;
};

struct RenderSetting {
  std::string input;
  std::string film = "everyday_400";
  std::string lens = "plain";
  std::string paper;  // empty: the film's own
  // How the source is metered; empty: as the options or the file have it.
  std::string source_exposure;
};

struct CheckedSetting {
  RenderSetting setting;
  nlohmann::json options;  // with a seed; `format`, where none is given, is null: the film's own
  std::string metering;
};

// What the presets and the flags come to; the input is left as it is.
CheckedSetting gather_setting(const SettingChoice& choice);

// The same, and refuses whatever can be refused without reading the picture.
CheckedSetting check_setting(const SettingChoice& choice);

// The whole of it as one would write it down.
Preset written_down(const CheckedSetting& checked);

// The options as the engine takes them. Throws for a text that is not UTF-8.
std::string options_text(const nlohmann::json& options);

// The setting in a report: input, film, lens and paper, which is null for the film's own.
void report_setting(const RenderSetting& setting, PixelSize source, nlohmann::ordered_json& report);

}  // namespace morva::host
