#include "render_setting.h"

#include "host_error.h"
#include "picture_reader.h"
#include "source_exposure.h"

namespace morva::host {

using Json = nlohmann::json;

CheckedSetting check_setting(const RenderSetting& setting) {
  CheckedSetting checked;
  checked.options = gather_options(setting.options);
  options_text(checked.options);  // refuses what is not UTF-8
  check_input(setting.input);
  checked.metering =
      metering_mode(setting.source_exposure, checked.options, is_scene_linear(setting.input));
  return checked;
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
