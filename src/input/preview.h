// A compressed picture in memory becomes pixels for a screen.
#pragma once

#include <cstdint>
#include <span>

#include "input/pixels8.h"

namespace morva {

// The first picture of `file` in BGRA, upright, tightly packed. The content chooses the decoder.
// Throws as decode_picture.
Pixels8 decode_preview(std::span<const std::uint8_t> file);

}  // namespace morva
