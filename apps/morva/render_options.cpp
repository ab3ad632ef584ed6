#include "render_options.h"

#include "host_error.h"
#include "json_file.h"

namespace morva::host {
namespace {

using Json = nlohmann::json;

void set(Json& options, const std::string& setting) {
  const std::size_t equals = setting.find('=');
  if (equals == std::string::npos || equals == 0) {
    throw HostError(MORVA_BAD_ARGUMENT, "--set takes key=value, not: " + setting);
  }
  options[setting.substr(0, equals)] = option_value_of(setting.substr(equals + 1));
}

void set_flags(Json& options, const OptionFlags& flags) {
  if (flags.seed) options["seed"] = *flags.seed;
  if (!flags.crop.empty()) options["crop"] = flags.crop;
  if (flags.angle) options["crop_angle"] = *flags.angle;
  if (flags.rotate) options["rotate"] = *flags.rotate;
  if (flags.mirror) options["mirror"] = true;
}

}  // namespace

Json option_value_of(const std::string& text) {
  std::string complaint;
  Json value = parse_json(text, complaint);
  return value.is_discarded() ? Json(text) : value;
}

void add_options(const OptionSources& sources, Json& options) {
  for (const std::string& file : sources.files)
    options.update(json_object_in(file, "options file"));
  for (const std::string& setting : sources.settings) set(options, setting);
  set_flags(options, sources.flags);
}

}  // namespace morva::host
