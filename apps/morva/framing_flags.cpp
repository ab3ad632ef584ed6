#include "framing_flags.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace morva::host {
namespace {

// Nothing for a text that is not one finite number. Spaces about it and a plus before it are fine.
std::optional<double> finite_number(std::string_view text) {
  constexpr std::string_view kSpaces = " \t";
  text.remove_prefix(std::min(text.find_first_not_of(kSpaces), text.size()));
  text.remove_suffix(text.size() - (text.find_last_not_of(kSpaces) + 1));
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  double number = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  return whole && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

double angle_degrees(const std::string& text) {
  const std::optional<double> degrees = finite_number(text);
  if (!degrees) throw CLI::ValidationError("--angle takes a number, not: " + text);
  return *degrees;
}

int quarter_turns_degrees(const std::string& text) {
  const double degrees = finite_number(text).value_or(-1.0);
  for (const int turn : {0, 90, 180, 270})
    if (degrees == turn) return turn;
  throw CLI::ValidationError("--rotate takes 90, 180 or 270, not: " + text);
}

// One word, x,y,w,h: the next may be the input. What would reach past the right or the lower side
// ends there.
std::vector<double> crop_fractions(const std::string& text) {
  std::vector<double> part;
  for (std::string_view rest = text;;) {
    const std::size_t comma = rest.find(',');
    const std::optional<double> number = finite_number(rest.substr(0, comma));
    if (!number) throw CLI::ValidationError("--crop takes numbers X,Y,W,H, not: " + text);
    part.push_back(*number);
    if (comma == std::string_view::npos) break;
    rest.remove_prefix(comma + 1);
  }
  if (part.size() != 4) throw CLI::ValidationError("--crop takes X,Y,W,H, not: " + text);
  for (std::size_t side : {0, 1}) {
    const double first = part[side], size = part[side + 2];
    if (!(first >= 0.0 && first < 1.0 && size > 0.0 && size <= 1.0))
      throw CLI::ValidationError("--crop takes fractions of 0 to 1, not: " + text);
    part[side + 2] = std::min(size, 1.0 - first);
  }
  return part;
}

}  // namespace

void add_framing(CLI::App& verb, OptionFlags& flags) {
  verb.add_option_function<std::string>(
          "--crop", [&flags](const std::string& text) { flags.crop = crop_fractions(text); },
          "Part of the picture: left, top, width and height as fractions of its sides, 0 to 1")
      ->type_name("X,Y,W,H");
  verb.add_option_function<std::string>(
          "--angle", [&flags](const std::string& text) { flags.angle = angle_degrees(text); },
          "Straighten: turn clockwise by so many degrees; without a crop, cuts the corners that "
          "the turn empties")
      ->type_name("DEG");
  verb.add_option_function<std::string>(
          "--rotate",
          [&flags](const std::string& text) { flags.rotate = quarter_turns_degrees(text); },
          "Turn clockwise by 90, 180 or 270 degrees")
      ->type_name("DEG");
  verb.add_flag("--mirror", flags.mirror, "Flip left to right, before the turn");
}

}  // namespace morva::host
