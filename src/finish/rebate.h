// Film rebate: the border of unexposed film around the picture. The picture is laid on a larger
// canvas without light before it is exposed, and the film makes of the rest what it makes of
// darkness. A mask then says where the print shows film at all.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "finish/rebate_style.h"
#include "image/image.h"
#include "image/random.h"

namespace morva {

struct Rebate {
  Image work;                                // the scene on its canvas, or the scene as it was
  std::optional<Image> mask;                 // one channel, the canvas's size, 1 inside the gate
  std::array<int, 4> insets = {0, 0, 0, 0};  // of the picture: top, bottom, left, right, pixels
};

// The rebate of a format with its own gate: "120", or sheets and plates for any other `family`.
// `px_per_mm` is the picture's scale on the film, `format_cm` the long side by which a frame of 120
// film is called, `width_ratio` widens the margins. Draws the carrier's edges from `rng`, the frame
// stream. Throws std::invalid_argument for a style but "thin" and "wide", std::bad_alloc for
// margins that make the canvas larger than any sheet.
Rebate format_rebate(Image work, const std::string& family, const RebateStyle& style, Rng& rng,
                     double px_per_mm, double format_cm, double width_ratio);

// The same margin all round, style.width of the long side; no canvas and no mask where that is less
// than a pixel. Draws and throws as above, but for the style.
Rebate plain_rebate(Image work, const RebateStyle& style, Rng& rng);

}  // namespace morva
