// The vocabulary of a render: every option with its default, and the check that keeps out unknown
// keys.
#pragma once

#include <string>

#include "profiles/json_access.h"

namespace morva {

// The host's text as JSON; null for a null or empty text. Throws OptionsError when it is not JSON.
Json parse_options(const char* text);

// The defaults with `user`'s keys laid over them; a null `user` gives the defaults alone, and a
// null value switches a default off. Throws OptionsError when `user` is not an object or holds an
// unknown key.
Json merged_options(const Json& user);

// Every accepted key, sorted and joined by ",".
const std::string& option_keys_text();

}  // namespace morva
