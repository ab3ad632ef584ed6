// The part of a command line that says what is rendered and how, whether it is rendered or only
// planned.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "picture.h"
#include "render_options.h"

namespace morva::host {

struct RenderSetting {
  std::string input;
  std::string film = "everyday_400";
  std::string lens = "plain";
  std::string paper;  // empty: the film's own
  // How the source is metered; empty: as the options or the file have it.
  std::string source_exposure;
  OptionSources options;
};

struct CheckedSetting {
  nlohmann::json options;
  std::string metering;
};

// Gathers the options and refuses whatever can be refused without reading the picture.
CheckedSetting check_setting(const RenderSetting& setting);

// The options as the engine takes them. Throws for a text that is not UTF-8.
std::string options_text(const nlohmann::json& options);

// The setting in a report: input, film, lens and paper, which is null for the film's own.
void report_setting(const RenderSetting& setting, PixelSize source, nlohmann::ordered_json& report);

}  // namespace morva::host
