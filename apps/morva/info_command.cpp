#include "info_command.h"

#include <nlohmann/json.hpp>

#include "console.h"
#include "exr_reader.h"
#include "picture_reader.h"
#include "standard_streams.h"
#include "terminal_text.h"

namespace morva::host {
namespace {

using OrderedJson = nlohmann::ordered_json;

OrderedJson exr_facts(const std::string& input) {
  const ExrInfo info = read_exr_info(file_behind(input));
  return {{"file", input},
          {"width", info.width},
          {"height", info.height},
          {"kind", "scene-linear EXR"},
          {"channels", info.channels}};
}

// Only what is known: a zero or an empty text means that the file is silent.
OrderedJson photo_facts(const std::string& input) {
  const MorvaImageInfo info = read_photo_info(input);
  OrderedJson facts = {{"file", input},
                       {"width", info.width},
                       {"height", info.height},
                       {"kind", info.is_raw ? "camera raw" : "picture"}};
  if (*info.camera != '\0') facts["camera"] = info.camera;
  if (*info.lens != '\0') facts["lens"] = info.lens;
  if (info.focal_mm > 0) facts["focal_mm"] = info.focal_mm;
  if (info.f_number > 0) facts["f_number"] = info.f_number;
  if (info.exposure_s > 0) facts["exposure_s"] = info.exposure_s;
  if (info.iso > 0) facts["iso"] = info.iso;
  if (*info.date != '\0') facts["date"] = info.date;
  return facts;
}

void print_as_lines(const OrderedJson& facts) {
  constexpr std::size_t kNameColumn = 12;
  for (const auto& [name, value] : facts.items()) {
    const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
    print_line(padded(name, kNameColumn) + on_one_line(text));
  }
}

}  // namespace

void run(const InfoRequest& request) {
  check_input_file(request.input);
  const OrderedJson facts =
      is_exr(file_behind(request.input)) ? exr_facts(request.input) : photo_facts(request.input);
  if (request.as_json) {
    print_json(facts);
  } else {
    print_as_lines(facts);
  }
}

}  // namespace morva::host
