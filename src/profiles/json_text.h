// JSON text from outside, parsed with a bound on its depth.
#pragma once

#include <string_view>

#include "profiles/json_access.h"

namespace morva {

// Objects and arrays within one another. Options and profiles are four deep; the bound keeps
// hostile text from exhausting a stack further down.
inline constexpr int kDeepestNesting = 64;

// Parses the whole of `text`. Throws std::exception, with the parser's own words, for text that is
// not JSON, is not UTF-8 or is nested deeper than kDeepestNesting.
Json parse_json(std::string_view text);

}  // namespace morva
