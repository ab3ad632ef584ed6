// What goes to standard output and standard error. Whatever a terminal shows is clean, so that no
// file's name or text plays tricks on it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace morva::host {

// A line of data, as it is where it goes into a file or a pipe. Throws when it cannot be written.
void print_line(const std::string& text);

// A word at the head of a column of `width`; a longer one has a space behind it.
std::string padded(std::string text, std::size_t width);

// A JSON value as one line. Bytes of a file name that are not UTF-8 are replaced.
void print_json(const nlohmann::ordered_json& value);

// "morva: ..." on stderr, always a single line, and below it "hint: ..." where there is one.
void print_error(const std::string& text, const std::string& hint = {});
void print_warning(const std::string& text);

// Lines for a reader, to stderr.
void print_note(const std::string& text);

}  // namespace morva::host
