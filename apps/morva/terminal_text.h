// Text that may hold anything, made fit for a terminal: no character of it is obeyed.
#pragma once

#include <string>
#include <string_view>

namespace morva::host {

// A question mark for each control character of ASCII, of C1 and of bidirectional text, and for
// each byte that is not UTF-8. Line feeds stay.
std::string for_terminal(std::string_view text);

// The same with a space for each line feed.
std::string on_one_line(std::string text);

bool is_utf8(std::string_view text);

}  // namespace morva::host
