// Linear light to the integers of a picture file, through the sRGB curve (IEC 61966-2-1).
#pragma once

#include <cstdint>
#include <span>

namespace morva::host {

// 0..1 to 0..1. Uses only operations that IEEE 754 defines to the last bit, so that a picture is
// the same file on every machine.
double srgb_encode(double linear);

// One row. Values outside 0..1 are clipped, NaN becomes 0; rounded to the nearest integer.
void encode_row(std::span<const float> linear, std::span<uint8_t> encoded);
void encode_row(std::span<const float> linear, std::span<uint16_t> encoded);

}  // namespace morva::host
