// The ICC profiles that tell a viewer how to read the picture.
#pragma once

#include <cstdint>
#include <vector>

namespace morva::host {

// Rec. 709 primaries and a D65 white, for samples encoded with the sRGB curve.
std::vector<uint8_t> srgb_icc_profile();

// The same primaries and white, for linear samples.
std::vector<uint8_t> linear_srgb_icc_profile();

}  // namespace morva::host
