#include "flow/sheet_dressing.h"

#include <algorithm>
#include <utility>

#include "finish/plate_mark.h"
#include "flow/develop_print.h"
#include "flow/sheet.h"
#include "flow/sheet_plan.h"
#include "image/resample.h"
#include "print/process_block.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

void fit_mask(std::optional<Image>& mask, PixelSize print) {
  if (mask && (mask->h != print.h || mask->w != print.w))
    mask = pil_resize(*mask, print.w, print.h, kResizeBicubic);
}

std::array<float, 3> sheet_colour(const Json& paper, const Json& opts) {
  if (truthy(get(paper, "process"))) return paper_base_rgb(paper, opts);
  std::array<float, 3> base = {1.0f, 1.0f, 1.0f};
  if (const auto tint = three_numbers(get(paper, "base_tint"), "base_tint"))
    for (int k = 0; k < 3; ++k) base[k] = static_cast<float>((*tint)[k]);
  return base;
}

// Where the picture and the plate mark lie on a sheet with a border.
void note_sheet_geometry(Json& opts, const Json& paper, const FilmFrame& frame, double pic_long_out,
                         double border_px) {
  Json insets = Json::array();
  for (const int inset : frame.rebate.margins)
    insets.push_back(static_cast<double>(inset) / frame.pic_long() * pic_long_out + border_px);
  opts["_pic_inset_px"] = std::move(insets);
  const double print_px_um = get_number(opts, "print_px_um", kDefaultPrintPxUm);
  if (const auto plate_px = plate_mark_px(paper, opts, border_px, print_px_um))
    opts["_plate_px"] = *plate_px;
}

// The raster became `ratio` times as fine.
void follow_raster(double ratio, PixelSize print, PrintPlace& place, Json& opts) {
  fit_mask(place.mask, print);
  place.pic_long *= ratio;
  opts["print_px_um"] = get_number(opts, "print_px_um", kDefaultPrintPxUm) / ratio;
}

}  // namespace

void follow_print_raster(int film_long, PixelSize print, PrintPlace& place, Json& opts) {
  const double ratio = static_cast<double>(long_side(print)) / film_long;
  if (ratio > 1.001) follow_raster(ratio, print, place, opts);
}

void follow_resize(int before_long, PixelSize print, PrintPlace& place, Json& opts) {
  if (long_side(print) == before_long) return;
  follow_raster(static_cast<double>(long_side(print)) / before_long, print, place, opts);
}

SheetDressing plan_dressing(PixelSize print, PrintPlace& place, const Json& resolved,
                            const Json& paper, const FilmFrame& frame, Json opts,
                            RenderContext& ctx) {
  SheetDressing sheet;
  sheet.has_sheet = paper_has_sheet(paper);
  sheet.base = sheet.border_rgb = sheet_colour(paper, opts);
  if (get_bool(opts, "border_black", false) && !sheet.has_sheet &&
      get_number(opts, "border", 0.0) > 0.0)
    sheet.border_rgb = black_probe(resolved, paper, opts, frame.um_per_px(), ctx);
  std::optional<std::array<double, 4>> white;
  fit_mask(place.mask, print);
  if (place.mask) white = measure_white_frame(*place.mask, place.pic_long, frame.style.preset);
  sheet.border = border_of_print(paper, opts, place.pic_long, long_side(print));
  if (is_chosen(opts, "mat") && sheet.border <= 0.0 && white) opts["_frame_white_px"] = *white;
  opts["_sheet_thickness_mm"] = get_number(paper, "thickness_mm", 0.25);
  const double border_px = long_side(print) * sheet.border;
  opts["_border_px"] = border_px;
  if (sheet.has_sheet) note_sheet_geometry(opts, paper, frame, place.pic_long, border_px);
  sheet.opts = std::move(opts);
  return sheet;
}

Image dress_sheet(Image print, SheetDressing sheet, const Json& paper) {
  print = pad_border(std::move(print), sheet.border, sheet.border_rgb);
  if (sheet.has_sheet) print = press_plate_mark(std::move(print), paper, sheet.opts);
  return finish_sheet(std::move(print), std::move(sheet.opts), !sheet.has_sheet);
}

std::array<float, 3> black_probe(const Json& resolved, const Json& paper, const Json& opts,
                                 double um_per_px, RenderContext& ctx) {
  constexpr int side = 8;
  Json probe = Json::object();
  for (const auto& [key, value] : opts.items())
    if (!key.starts_with('_')) probe[key] = value;
  probe["grain_mult"] = 0;
  probe["_black_probe"] = true;
  const Image print =
      develop_print(Image(side, side, 3), resolved, paper, probe, um_per_px, nullptr, ctx, nullptr);
  std::array<float, 3> sums = {0.0f, 0.0f, 0.0f};
  for (std::size_t i = 0; i < print.pixels(); ++i)
    for (int k = 0; k < 3; ++k) sums[k] += print.data[i * print.c + k];
  std::array<float, 3> mean;
  for (int k = 0; k < 3; ++k)
    mean[k] =
        static_cast<float>(static_cast<double>(sums[k]) / static_cast<double>(print.pixels()));
  return mean;
}

}  // namespace morva
