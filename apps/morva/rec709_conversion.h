// Linear colours of other primaries as Rec. 709 colours, the white point adapted.
#pragma once

#include <ImfChromaticities.h>

#include <array>
#include <optional>

#include "picture.h"

namespace morva::host {

using ColourMatrix =
    std::array<std::array<double, 3>, 3>;  // row by row; applied to a column R, G, B

// Nothing when those are the Rec. 709 chromaticities already.
std::optional<ColourMatrix> to_rec709(const Imf::Chromaticities& from);

void apply(const ColourMatrix& matrix, Picture& picture);

}  // namespace morva::host
