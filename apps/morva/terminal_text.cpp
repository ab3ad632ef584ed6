#include "terminal_text.h"

#include <algorithm>
#include <array>

namespace morva::host {
namespace {

constexpr char32_t kNone = 0xFFFFFFFF;

struct Character {
  char32_t code;  // kNone for a byte that is not UTF-8
  std::size_t bytes;
};

// RFC 3629.
Character first_of(std::string_view text) {
  constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) return {lead, 1};
  const std::size_t bytes = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < bytes) return {kNone, 1};
  char32_t code = lead & (0x7Fu >> bytes);
  for (std::size_t i = 1; i < bytes; ++i) {
    const auto next = static_cast<unsigned char>(text[i]);
    if ((next & 0xC0) != 0x80) return {kNone, 1};
    code = (code << 6) | (next & 0x3Fu);
  }
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < kSmallest[bytes] || code > 0x10FFFF || surrogate) return {kNone, 1};
  return {code, bytes};
}

bool is_obeyed(char32_t code) {
  const auto within = [&](char32_t first, char32_t last) { return code >= first && code <= last; };
  return code == kNone || code < 0x20 || within(0x7F, 0x9F) || code == 0x61C ||
         within(0x200E, 0x200F) || within(0x2028, 0x202E) || within(0x2066, 0x2069);
}

}  // namespace

std::string for_terminal(std::string_view text) {
  std::string clean;
  while (!text.empty()) {
    const Character next = first_of(text);
    if (next.code != '\n' && is_obeyed(next.code))
      clean += '?';
    else
      clean += text.substr(0, next.bytes);
    text.remove_prefix(next.bytes);
  }
  return clean;
}

bool is_utf8(std::string_view text) {
  while (!text.empty()) {
    const Character next = first_of(text);
    if (next.code == kNone) return false;
    text.remove_prefix(next.bytes);
  }
  return true;
}

std::string on_one_line(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  return for_terminal(text);
}

}  // namespace morva::host
