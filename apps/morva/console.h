// What goes to standard output, and the one line of an error.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace morva::host {

// A line of data. Throws when it cannot be written.
void print_line(const std::string& text);

// A word at the head of a column of `width`; a longer one has a space behind it.
std::string padded(std::string text, std::size_t width);

// A JSON value as one line. Bytes of a file name that are not UTF-8 are replaced.
void print_json(const nlohmann::ordered_json& value);

// The text with a question mark for each control character, which a terminal would obey.
std::string on_one_line(std::string text);

// "morva: ..." on stderr, always a single line, and below it "hint: ..." where there is one.
void print_error(const std::string& text, const std::string& hint = {});
void print_warning(const std::string& text);

// Text for a reader, as it stands, to stderr.
void print_note(const std::string& text);

}  // namespace morva::host
