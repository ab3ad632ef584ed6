// Framing that needs the picture's size: a straightened picture is turned under its crop, and where
// the crop reaches past it there is nothing to show.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

namespace morva::host {

// Where the options straighten a picture of this size and have no crop, sets the largest about its
// centre that holds none of the corners which the turn empties. Returns a warning, or nothing: for
// a crop that reaches more than a pixel outside. Options that the library would refuse are left to
// it.
std::string frame_straightened(int32_t width, int32_t height, nlohmann::json& options);

}  // namespace morva::host
