#include "sheet_size.h"

#include <algorithm>

#include "host_error.h"

namespace morva::host {
namespace {

using Json = nlohmann::json;

constexpr int32_t kLongestSidePx = 32768;
constexpr int64_t kMostMegapixels = 500;  // 6 GB of samples
constexpr const char* kRemedy =
    "it comes from what surrounds the picture: border, frame, frame_style, mat, mat_width_cm, "
    "table, table_width_cm";

constexpr const char* kTooLarge = "лист не больше";  // the engine's words

struct Answer {
  int32_t code = MORVA_OK;
  PixelSize size{};
  MorvaError error{};
};

Answer ask(const RenderSetting& setting, const Json& options, PixelSize source) {
  Answer answer;
  answer.code = morva_output_size(options_text(options).c_str(), setting.film.c_str(),
                                  setting.paper.c_str(), source.width, source.height,
                                  &answer.size.width, &answer.size.height, &answer.error);
  return answer;
}

// The engine's words, and what to change where the picture alone would do.
std::string why_refused(const Answer& refused, const RenderSetting& setting, const Json& options,
                        PixelSize source) {
  const std::string words = refused.error.message;
  if (words.find(kTooLarge) == std::string::npos) return words;
  const Answer alone = ask(setting, picture_alone(options), source);
  return alone.code == MORVA_OK ? words + "; " + kRemedy : words;
}

}  // namespace

PixelSize sheet_size(const RenderSetting& setting, const Json& options, PixelSize source) {
  const Answer answer = ask(setting, options, source);
  if (answer.code == MORVA_OPTIONS_FAILED)
    throw engine_failure(answer.code, why_refused(answer, setting, options, source));
  check_engine(answer.code, answer.error);
  return answer.size;
}

Json print_alone(Json options) {
  options["border"] = 0.0;
  options["mat"] = options["table"] = nullptr;
  return options;
}

Json picture_alone(Json options) {
  options["frame"] = 0.0;
  options["frame_style"] = "none";
  options["instant_frame"] = false;
  return print_alone(std::move(options));
}

std::string too_large(PixelSize sheet, const std::string& remedy) {
  const bool long_side = std::max(sheet.width, sheet.height) > kLongestSidePx;
  if (!long_side && int64_t{sheet.width} * sheet.height <= kMostMegapixels * 1'000'000) return {};
  const std::string limit = long_side ? std::to_string(kLongestSidePx) + " a side"
                                      : std::to_string(kMostMegapixels) + " megapixels";
  return "the sheet would be " + in_pixels(sheet) + ", more than " + limit + "; " + remedy;
}

void require_sheet_that_fits(PixelSize sheet) {
  const std::string complaint = too_large(sheet);
  if (!complaint.empty()) throw HostError(MORVA_OPTIONS_FAILED, complaint);
}

std::string in_pixels(PixelSize size) {
  return std::to_string(size.width) + " x " + std::to_string(size.height) + " pixels";
}

}  // namespace morva::host
