// The sheet around the picture: its border, what the rebate leaves white, and the order in which
// mat, stamps and table come.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "finish/rebate_style.h"
#include "image/image.h"
#include "image/pixel_size.h"
#include "profiles/json_access.h"

namespace morva {

// A border of `border` (fraction of the long side) in the colour `rgb` around the picture's first
// three channels; the picture itself when `border` is not positive. Throws std::bad_alloc for a
// border that makes the sheet larger than any.
Image pad_border(Image image, double border, const std::array<float, 3>& rgb);

// The size of that.
PixelSize bordered_size(PixelSize print, double border);

// Lays the paper's colour over what lies outside the rebate's mask (one channel, the print's size).
void lay_base_outside(Image& print, const Image& mask, const std::array<float, 3>& base);

// How far the ragged edge of the picture lies inside the raster on each side, pixels: top, bottom,
// left, right. `long_px` is the picture's long side without its rebate. Nothing when the mask
// leaves too little.
std::optional<std::array<double, 4>> measure_white_frame(const Image& mask, double long_px,
                                                         const RebatePreset* preset);

// "scan", "plate" or empty.
std::string paper_kind(const Json& paper);

// The option `key` names something: it is neither null, empty nor "none".
bool is_chosen(const Json& opts, std::string_view key);

// False for a scan, and for a paper that says so itself.
bool paper_has_sheet(const Json& paper);

// Mat, stamps and table, in the order of the bench: a mat first when the border is too narrow for
// the stamps.
Image finish_sheet(Image image, Json opts, bool no_sheet, const Image* table_hint = nullptr);

// What finish_sheet makes of a sheet of this size. Throws as the mat and the table do.
PixelSize finished_size(PixelSize sheet, const Json& opts, bool no_sheet);

// Size of a print pixel where nothing has set it, micrometres.
inline constexpr double kDefaultPrintPxUm = 60.0;

}  // namespace morva
