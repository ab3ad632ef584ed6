// The sRGB transfer curve of IEC 61966-2-1 at the 256 codes of 8-bit files, and its reverse.
#pragma once

#include <array>
#include <cstdint>

namespace morva {

// Linear light in 0..1 of each 8-bit code.
const std::array<float, 256>& srgb_to_linear_table();

// The 8-bit code of a linear value: outside 0..1 it is clipped, NaN is black.
std::uint8_t encode_srgb8(float linear);

}  // namespace morva
