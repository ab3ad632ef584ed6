// From the developed print to the finished sheet: what the paper is around the picture, decided
// from sizes and the rebate's mask, then laid around it.
#pragma once

#include <array>
#include <optional>

#include "flow/film_frame.h"
#include "image/image.h"
#include "image/pixel_size.h"
#include "image/render_context.h"
#include "profiles/json_access.h"

namespace morva {

// The rebate's mask and the scale of the print while its raster may still change.
struct PrintPlace {
  std::optional<Image> mask;  // where the print shows film at all: one channel
  double pic_long = 0.0;      // the picture's long side without its rebate, pixels of the print
};

// The film's raster was `film_long` pixels long and its print is finer: the mask, the place and the
// option `print_px_um` follow. Nothing for a print that is not.
void follow_print_raster(int film_long, PixelSize print, PrintPlace& place, Json& opts);
// The same where the print was `before_long` pixels long and was brought to another size.
void follow_resize(int before_long, PixelSize print, PrintPlace& place, Json& opts);

struct SheetDressing {
  std::array<float, 3> base = {1.0f, 1.0f, 1.0f};  // the bare paper, laid outside the mask
  std::array<float, 3> border_rgb = base;
  double border = 0.0;  // fraction of the print's long side
  bool has_sheet = true;
  Json opts;  // with what mat, stamps and table read of the sheet's geometry
};

// `print` is the size of the print; the mask is brought to it. `resolved` is the developed stock.
SheetDressing plan_dressing(PixelSize print, PrintPlace& place, const Json& resolved,
                            const Json& paper, const FilmFrame& frame, Json opts,
                            RenderContext& ctx);

// The print, base laid outside its mask already, with border, plate mark, mat, stamps and table.
Image dress_sheet(Image print, SheetDressing dressing, const Json& paper);

// The colour that an unexposed edge of this film gives on this paper: an 8 x 8 picture of no light,
// without grain. `resolved` is the developed stock.
std::array<float, 3> black_probe(const Json& resolved, const Json& paper, const Json& opts,
                                 double um_per_px, RenderContext& ctx);

}  // namespace morva
