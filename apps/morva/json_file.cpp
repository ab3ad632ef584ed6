#include "json_file.h"

#include <filesystem>
#include <optional>
#include <span>

#include "host_error.h"
#include "operating_system.h"
#include "waiting_streams.h"

namespace morva::host {
namespace {

using Json = nlohmann::json;

// Deeper nesting is no option of ours and would only exhaust the stack later on.
constexpr int kDeepest = 64;

// Every option with a long text is a few kilobytes; a device or a pipe may have no end.
constexpr std::size_t kMostBytes = std::size_t{4} << 20;

struct TooDeep {};

struct OpenFile {
  explicit OpenFile(const std::string& path) : number(open_to_read(path)) {}
  ~OpenFile() {
    if (number) close_file(*number);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  const std::optional<int> number;
};

std::string text_of_file(const std::string& file, const std::string& what) {
  std::error_code error;
  if (std::filesystem::is_directory(file, error))
    throw HostError(MORVA_BAD_ARGUMENT, "the " + what + " is a folder: " + file);
  const OpenFile in(file);
  if (!in.number) throw HostError(MORVA_BAD_ARGUMENT, "cannot open the " + what + ": " + file);
  std::string text(kMostBytes + 1, '\0');
  std::size_t size = 0;
  for (std::size_t count = 1; count > 0 && size < text.size(); size += count) {
    const auto read = read_or_cancel(*in.number, std::span(text).subspan(size));
    if (!read) throw HostError(MORVA_BAD_ARGUMENT, "cannot read the " + what + ": " + file);
    count = *read;
  }
  text.resize(size);
  if (text.size() > kMostBytes)
    throw HostError(MORVA_BAD_ARGUMENT, "the " + what + " is larger than 4 MB: " + file,
                    "a preset or options file is a JSON object such as --save-options writes; any "
                    "other picture or device is none");
  return text;
}

}  // namespace

Json parse_json(const std::string& text, std::string& complaint) {
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

Json json_object_in(const std::string& file, const std::string& what) {
  std::string complaint;
  Json object = parse_json(text_of_file(file, what), complaint);
  if (object.is_discarded())
    throw HostError(MORVA_OPTIONS_FAILED, file + " is not JSON: " + complaint);
  if (!object.is_object()) throw HostError(MORVA_OPTIONS_FAILED, file + " holds no JSON object");
  return object;
}

}  // namespace morva::host
