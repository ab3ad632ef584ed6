#include "flow/sheet_plan.h"

#include <algorithm>

#include "finish/instant_card.h"
#include "flow/sheet.h"
#include "print/scan.h"
#include "repro/tube_view.h"

namespace morva {

void update_print_scale(Json& opts, const Json& paper, const FilmFrame& frame) {
  const int film_long = frame.film_long();
  // What two borders leave of the whole paper.
  if (truthy(get(opts, "sheet_cm")) && !frame.area.is_instant) {
    const double border_of_film = get_number(opts, "border", 0.0) * frame.pic_long() / film_long;
    opts["print_cm"] =
        std::max(1.0, get_number(opts, "sheet_cm", 0.0) / (2.0 * border_of_film + 1.0));
  }
  if (get_text_or(paper, "repro", "") == "crt")
    opts["print_cm"] = plan_tube_view(paper, opts).image_cm;
  if (paper_kind(paper) == "plate") opts["print_cm"] = frame.area.long_um / 10000.0;
  opts["print_px_um"] = get_number(opts, "print_cm", 30.0) * 10000.0 / film_long;
}

double border_of_print(const Json& paper, const Json& opts, double pic_long, int print_long) {
  const double border = get_number(opts, "border", 0.0);
  if (paper_kind(paper) == "plate") return 0.0;
  return border > 0.0 ? border * pic_long / print_long : border;
}

SheetPlan plan_sheet(const Json& film, const Json& paper, Json opts, PixelSize source) {
  SheetPlan plan;
  const FilmFrame& frame = plan.frame = plan_film_frame(film, paper, opts, source);
  update_print_scale(opts, paper, frame);
  PixelSize print = frame.film();
  if (paper_kind(paper) == "scan") print = scan_file_size(print, paper);
  if (frame.area.is_instant) {
    const auto card = plan_instant_card(film, opts, print);
    plan.sheet = card ? card->size : print;
    return plan;
  }
  const double ratio = static_cast<double>(long_side(print)) / frame.film_long();
  opts["print_px_um"] = get_number(opts, "print_px_um", kDefaultPrintPxUm) / ratio;
  const double border = border_of_print(paper, opts, frame.pic_long() * ratio, long_side(print));
  plan.sheet = finished_size(bordered_size(print, border), opts, !paper_has_sheet(paper));
  return plan;
}

}  // namespace morva
