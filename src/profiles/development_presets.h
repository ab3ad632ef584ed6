// The ways a stock can be developed: factors on its curves and grain, absolute fog and edge effect.
#pragma once

#include <string>

#include "profiles/json_access.h"

namespace morva {

// The preset `dev` for films of `type`: the C-41 table for "color", the plate table for
// "collodion", the black-and-white table for every other. Throws OptionsError, naming what there
// is, for an unknown `dev`.
const Json& development_preset(const std::string& type, const std::string& dev);

}  // namespace morva
