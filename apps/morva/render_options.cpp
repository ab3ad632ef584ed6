#include "render_options.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "host_error.h"

namespace morva::host {
namespace {

using Json = nlohmann::json;

// Deeper nesting is no option of ours and would only exhaust the stack later on.
constexpr int kDeepest = 64;

struct TooDeep {};

// The parsed value, or a discarded one when `text` is not JSON.
Json parse(const std::string& text, std::string& complaint) {
  using Event = Json::parse_event_t;
  const auto guard_depth = [](int depth, Event event, const Json&) {
    const bool opens = event == Event::object_start || event == Event::array_start;
    if (opens && depth >= kDeepest) throw TooDeep();
    return true;
  };
  try {
    return Json::parse(text, guard_depth);
  } catch (const Json::exception& failure) {
    complaint = failure.what();
    return Json(Json::value_t::discarded);
  } catch (const TooDeep&) {
    throw HostError(MORVA_OPTIONS_FAILED, "options are nested deeper than 64");
  }
}

std::string text_of_file(const std::string& file) {
  std::error_code error;
  if (std::filesystem::is_directory(file, error)) {
    throw HostError(MORVA_BAD_ARGUMENT, "options file is a folder: " + file);
  }
  std::ifstream in(file, std::ios::binary);
  if (!in) throw HostError(MORVA_BAD_ARGUMENT, "cannot open the options file: " + file);
  return {std::istreambuf_iterator<char>(in), {}};
}

Json object_in_file(const std::string& file) {
  std::string complaint;
  Json object = parse(text_of_file(file), complaint);
  if (object.is_discarded()) {
    throw HostError(MORVA_OPTIONS_FAILED, file + " is not JSON: " + complaint);
  }
  if (!object.is_object()) {
    throw HostError(MORVA_OPTIONS_FAILED, file + " holds no JSON object");
  }
  return object;
}

// 2, true, null and [1, 2] are JSON; whatever is not stands as the text that it is.
void set(Json& options, const std::string& setting) {
  const std::size_t equals = setting.find('=');
  if (equals == std::string::npos || equals == 0) {
    throw HostError(MORVA_BAD_ARGUMENT, "--set takes key=value, not: " + setting);
  }
  const std::string text = setting.substr(equals + 1);
  std::string complaint;
  Json value = parse(text, complaint);
  options[setting.substr(0, equals)] = value.is_discarded() ? Json(text) : std::move(value);
}

void set_flags(Json& options, const OptionFlags& flags) {
  if (flags.seed) options["seed"] = *flags.seed;
  if (!flags.crop.empty()) options["crop"] = flags.crop;
  if (flags.angle) options["crop_angle"] = *flags.angle;
  if (flags.rotate) options["rotate"] = *flags.rotate;
  if (flags.mirror) options["mirror"] = true;
}

}  // namespace

Json gather_options(const OptionSources& sources) {
  Json options = Json::object();
  for (const std::string& file : sources.files) options.update(object_in_file(file));
  for (const std::string& setting : sources.settings) set(options, setting);
  set_flags(options, sources.flags);
  if (!options.contains("format")) options["format"] = nullptr;  // the film's own
  return options;
}

}  // namespace morva::host
