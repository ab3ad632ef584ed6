#include "console.h"

#include <algorithm>
#include <cstdio>

#include "host_error.h"
#include "operating_system.h"
#include "terminal_text.h"

namespace morva::host {

void print_line(const std::string& text) {
  const std::string line = (stdout_is_terminal() ? for_terminal(text) : text) + "\n";
  if (std::fwrite(line.data(), 1, line.size(), stdout) != line.size() || std::fflush(stdout) != 0) {
    throw HostError(MORVA_FAILED, "cannot write to standard output");
  }
}

std::string padded(std::string text, std::size_t width) {
  text.resize(std::max(text.size() + 1, width), ' ');
  return text;
}

void print_json(const nlohmann::ordered_json& value) {
  print_line(value.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

void print_error(const std::string& text, const std::string& hint) {
  std::string line = "morva: " + on_one_line(text) + "\n";
  if (!hint.empty()) line += "hint: " + on_one_line(hint) + "\n";
  std::fputs(line.c_str(), stderr);
}

void print_warning(const std::string& text) {
  print_error("warning: " + text);
}

void print_note(const std::string& text) {
  std::fputs(for_terminal(text).c_str(), stderr);
}

}  // namespace morva::host
