#include "flow/develop_print.h"

#include <utility>

#include "film/develop_bw.h"
#include "film/develop_color.h"
#include "film/exposure_mix.h"
#include "flow/sheet.h"
#include "plates/plate_view.h"
#include "plates/tricolor.h"
#include "print/bw_print.h"
#include "print/color_print.h"
#include "print/instant_positive.h"
#include "print/process_print.h"
#include "print/reversal_print.h"
#include "print/scan.h"
#include "print/slide.h"
#include "profiles/film.h"
#include "profiles/seeds.h"
#include "repro/print_surface.h"
#include "repro/repro.h"

namespace morva {

namespace {

// An opaque base has no glass for light to be thrown back in.
void drop_glass_on_opaque_base(Json& stock, const Json& paper) {
  if (get_text_or(paper, "substrate", "") != "opaque") return;
  if (!truthy(get(stock, "halation")) || !truthy(get(get(stock, "halation"), "glass_mm"))) return;
  stock["halation"].erase("glass_mm");
}

// Which of them are seen as a film or a plate, on no sheet of paper.
bool is_positive(PrintWay way) {
  return way == PrintWay::slide || way == PrintWay::tricolor || way == PrintWay::instant ||
         way == PrintWay::plate;
}

bool has_repro(PrintWay way, const Json& paper) {
  switch (way) {
    case PrintWay::slide:
    case PrintWay::tricolor:
    case PrintWay::bw_print:
    case PrintWay::color_on_bw:
    case PrintWay::color_print:
      return truthy(get(paper, "repro"));
    default:
      return false;
  }
}

bool has_surface(PrintWay way, const Json& paper) {
  const bool on_sheet =
      way == PrintWay::bw_print || way == PrintWay::color_on_bw || way == PrintWay::color_print;
  return on_sheet && truthy(get(paper, "surface"));
}

}  // namespace

PrintWay print_way(const std::string& film_type, const Json& paper) {
  const std::string paper_type = get_text_or(paper, "type", "");
  if (film_type == "slide")
    return paper_type == "reversal_paper" ? PrintWay::reversal_paper : PrintWay::slide;
  if (film_type == "tricolor") return PrintWay::tricolor;
  if (film_type == "instant") return PrintWay::instant;
  if (film_type == "collodion" && paper_kind(paper) == "plate") return PrintWay::plate;
  if (truthy(get(paper, "process"))) return PrintWay::process;
  if (film_type == "collodion") return PrintWay::collodion_print;
  if (film_type == "bw") return PrintWay::bw_print;
  return paper_type.starts_with("bw") ? PrintWay::color_on_bw : PrintWay::color_print;
}

bool has_reproduction(PrintWay way, const Json& paper) {
  return has_repro(way, paper) || has_surface(way, paper);
}

Image reproduce(Image print, PrintWay way, const Json& paper, const Json& opts,
                RenderContext& ctx) {
  if (!has_reproduction(way, paper)) return print;
  Rng rng = seeded_rng(opts, kPrintStream);
  const double print_px_um = get_number(opts, "print_px_um", kDefaultPrintPxUm);
  if (has_repro(way, paper)) {
    if (way == PrintWay::bw_print) print = extract_channel(print, 0);
    print = repro_stage(std::move(print), paper, opts, print_px_um, rng, ctx);
  }
  if (has_surface(way, paper))
    print = repro_surface(std::move(print), paper, opts, print_px_um, rng);
  return print;
}

bool is_scanned(const Json& paper) {
  return paper_kind(paper) == "scan" || truthy(get(paper, "scan"));
}

bool prints_by_process(const std::string& film_type, const Json& paper) {
  return print_way(film_type, paper) == PrintWay::process;
}

bool prints_on_paper_curve(const std::string& film_type, const Json& paper) {
  return !is_positive(print_way(film_type, paper));
}

bool is_reproduced(const std::string& film_type, const Json& paper) {
  return has_repro(print_way(film_type, paper), paper);
}

Image develop_print(Image work, Json stock, const Json& paper, const Json& opts, double um_per_px,
                    const Image* uneven, RenderContext& ctx, const Image* process_mask) {
  const std::string type = get_text_or(stock, "type", "");
  if (type == "collodion") drop_glass_on_opaque_base(stock, paper);
  if (type != "bw") apply_exposure_mix(work, stock, opts);

  const auto print_silver = [&] {
    Negative negative = develop_bw(work, stock, opts, um_per_px, uneven, ctx);
    work = Image();
    check_cancel(ctx);
    return print_bw(print_params_bw(paper, opts), std::move(negative), ctx);
  };
  const auto print_dyes = [&] {
    ColorNegative negative = develop_color(std::move(work), stock, opts, um_per_px, uneven, ctx);
    check_cancel(ctx);
    return print_color(print_params_color(stock, paper, opts), std::move(negative), ctx);
  };
  const auto develop_pack = [&] {
    const auto develop = is_mono_instant(stock) ? develop_instant_mono : develop_instant;
    return develop(std::move(work), stock, opts, um_per_px, ctx);
  };

  const PrintWay way = print_way(type, paper);
  Image positive;
  switch (way) {
    case PrintWay::reversal_paper:
      return print_reversal(std::move(work), stock, paper, opts, um_per_px, uneven, ctx);
    case PrintWay::slide:
      positive = develop_slide(std::move(work), stock, opts, um_per_px, uneven, ctx);
      if (is_scanned(paper)) positive = scan_positive(std::move(positive), paper, opts);
      break;
    case PrintWay::tricolor:
      positive = develop_tricolor(std::move(work), stock, opts, um_per_px, uneven, ctx);
      if (is_scanned(paper)) positive = scan_positive(std::move(positive), paper, opts);
      break;
    case PrintWay::instant:
      return develop_pack();
    case PrintWay::plate:
      return plate_positive(work, stock, paper, opts, um_per_px, ctx);
    case PrintWay::process:
      return print_process(std::move(work), stock, paper, opts, um_per_px, uneven, process_mask,
                           ctx);
    case PrintWay::collodion_print:
    case PrintWay::bw_print:
      positive = print_silver();
      break;
    case PrintWay::color_on_bw:
      positive = print_color_on_bw(std::move(work), stock, paper, opts, um_per_px, uneven, ctx);
      break;
    case PrintWay::color_print:
      positive = print_dyes();
  }
  return reproduce(std::move(positive), way, paper, opts, ctx);
}

}  // namespace morva
