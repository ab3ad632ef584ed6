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

// What follows a print: its run on the paper's `repro`, then the surface of a sheet that has one.
Image reproduce(Image print, bool on_sheet, const Json& paper, const Json& opts,
                RenderContext& ctx) {
  const bool has_repro = truthy(get(paper, "repro"));
  const bool has_surface = on_sheet && truthy(get(paper, "surface"));
  if (!has_repro && !has_surface) return print;
  Rng rng = seeded_rng(opts, kPrintStream);
  const double print_px_um = get_number(opts, "print_px_um", kDefaultPrintPxUm);
  if (has_repro) print = repro_stage(std::move(print), paper, opts, print_px_um, rng, ctx);
  if (has_surface) print = repro_surface(std::move(print), paper, opts, print_px_um, rng);
  return print;
}

// A film that is itself the positive, scanned and reproduced where the paper says so.
Image show_positive(Image positive, const Json& paper, const Json& opts, RenderContext& ctx) {
  if (paper_kind(paper) == "scan" || truthy(get(paper, "scan")))
    positive = scan_positive(std::move(positive), paper, opts);
  return reproduce(std::move(positive), false, paper, opts, ctx);
}

// A print on silver or dye paper. A black-and-white one goes to the press as one channel.
Image show_print(Image print, bool is_bw, const Json& paper, const Json& opts, RenderContext& ctx) {
  if (is_bw && truthy(get(paper, "repro"))) print = extract_channel(print, 0);
  return reproduce(std::move(print), true, paper, opts, ctx);
}

// The ways from an exposed stock to a positive.
enum class Way {
  kReversalPaper,  // from a slide
  kSlide,
  kTricolor,
  kInstant,
  kPlate,    // collodion, seen as it is
  kProcess,  // an alternative process
  kCollodionPrint,
  kBwPrint,
  kColorOnBw,
  kColorPrint
};

Way way_of(const std::string& film_type, const Json& paper) {
  const std::string paper_type = get_text_or(paper, "type", "");
  if (film_type == "slide")
    return paper_type == "reversal_paper" ? Way::kReversalPaper : Way::kSlide;
  if (film_type == "tricolor") return Way::kTricolor;
  if (film_type == "instant") return Way::kInstant;
  if (film_type == "collodion" && paper_kind(paper) == "plate") return Way::kPlate;
  if (truthy(get(paper, "process"))) return Way::kProcess;
  if (film_type == "collodion") return Way::kCollodionPrint;
  if (film_type == "bw") return Way::kBwPrint;
  return paper_type.starts_with("bw") ? Way::kColorOnBw : Way::kColorPrint;
}

bool is_positive(Way way) {
  return way == Way::kSlide || way == Way::kTricolor || way == Way::kInstant || way == Way::kPlate;
}

}  // namespace

bool prints_by_process(const std::string& film_type, const Json& paper) {
  return way_of(film_type, paper) == Way::kProcess;
}

bool prints_on_paper_curve(const std::string& film_type, const Json& paper) {
  return !is_positive(way_of(film_type, paper));
}

bool is_reproduced(const std::string& film_type, const Json& paper) {
  if (!truthy(get(paper, "repro"))) return false;
  switch (way_of(film_type, paper)) {
    case Way::kSlide:
    case Way::kTricolor:
    case Way::kBwPrint:
    case Way::kColorOnBw:
    case Way::kColorPrint:
      return true;
    default:
      return false;
  }
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

  switch (way_of(type, paper)) {
    case Way::kReversalPaper:
      return print_reversal(std::move(work), stock, paper, opts, um_per_px, uneven, ctx);
    case Way::kSlide:
      return show_positive(develop_slide(std::move(work), stock, opts, um_per_px, uneven, ctx),
                           paper, opts, ctx);
    case Way::kTricolor:
      return show_positive(develop_tricolor(std::move(work), stock, opts, um_per_px, uneven, ctx),
                           paper, opts, ctx);
    case Way::kInstant:
      return develop_pack();
    case Way::kPlate:
      return plate_positive(work, stock, paper, opts, um_per_px, ctx);
    case Way::kProcess:
      return print_process(std::move(work), stock, paper, opts, um_per_px, uneven, process_mask,
                           ctx);
    case Way::kCollodionPrint:
      return print_silver();
    case Way::kBwPrint:
      return show_print(print_silver(), true, paper, opts, ctx);
    case Way::kColorOnBw:
      return show_print(
          print_color_on_bw(std::move(work), stock, paper, opts, um_per_px, uneven, ctx), false,
          paper, opts, ctx);
    case Way::kColorPrint:
      break;
  }
  return show_print(print_dyes(), false, paper, opts, ctx);
}

}  // namespace morva
