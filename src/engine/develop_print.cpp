#include "engine/develop_print.h"

#include <utility>

#include "engine/pending.h"
#include "engine/sheet.h"
#include "film/develop_bw.h"
#include "film/develop_color.h"
#include "film/exposure_mix.h"
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

namespace morva {

namespace {

// An opaque base has no glass for light to be thrown back in.
void drop_glass_on_opaque_base(Json& stock, const Json& paper) {
  if (get_text_or(paper, "substrate", "") != "opaque") return;
  if (!truthy(get(stock, "halation")) || !truthy(get(get(stock, "halation"), "glass_mm"))) return;
  stock["halation"].erase("glass_mm");
}

Image reproduce(Image print, const Json& paper, const Json& opts) {
  if (!truthy(get(paper, "repro"))) return print;
  Rng rng = seeded_rng(opts, kPrintStream);
  return apply_repro(std::move(print), paper, opts, rng,
                     get_number(opts, "print_px_um", kDefaultPrintPxUm));
}

// A film that is itself the positive, scanned and reproduced where the paper says so.
Image show_positive(Image positive, const Json& paper, const Json& opts) {
  if (paper_kind(paper) == "scan" || truthy(get(paper, "scan")))
    positive = scan_positive(std::move(positive), paper, opts);
  return reproduce(std::move(positive), paper, opts);
}

// A silver or dye print goes on to the press and gets the surface of its sheet. A black-and-white
// print goes as one channel.
Image reproduce_and_surface(Image print, const std::string& type, const Json& paper,
                            const Json& opts) {
  const bool has_repro = truthy(get(paper, "repro"));
  const bool has_surface = truthy(get(paper, "surface"));
  if (!has_repro && !has_surface) return print;
  Rng rng = seeded_rng(opts, kPrintStream);
  const double print_px_um = get_number(opts, "print_px_um", kDefaultPrintPxUm);
  if (has_repro) {
    if (type == "bw") print = extract_channel(print, 0);
    print = apply_repro(std::move(print), paper, opts, rng, print_px_um);
  }
  if (has_surface) print = apply_surface(std::move(print), paper, opts, rng, print_px_um);
  return print;
}

}  // namespace

bool prints_by_process(const std::string& film_type, const Json& paper) {
  if (!truthy(get(paper, "process"))) return false;
  if (film_type == "slide" || film_type == "tricolor" || film_type == "instant") return false;
  return film_type != "collodion" || paper_kind(paper) != "plate";
}

Image develop_print(Image work, Json stock, const Json& paper, const Json& opts, double um_per_px,
                    const Image* uneven, RenderContext& ctx, const Image* process_mask) {
  const std::string type = get_text_or(stock, "type", "");
  const std::string paper_type = get_text_or(paper, "type", "");
  if (type == "collodion") drop_glass_on_opaque_base(stock, paper);
  if (type != "bw") apply_exposure_mix(work, stock, opts);

  if (type == "slide" && paper_type == "reversal_paper")
    return print_reversal(std::move(work), stock, paper, opts, um_per_px, uneven, ctx);
  if (type == "slide")
    return show_positive(develop_slide(std::move(work), stock, opts, um_per_px, uneven, ctx), paper,
                         opts);
  if (type == "tricolor")
    return show_positive(develop_tricolor(std::move(work), stock, opts, um_per_px, uneven, ctx),
                         paper, opts);
  if (type == "instant") {
    const auto develop_pack = is_mono_instant(stock) ? develop_instant_mono : develop_instant;
    return develop_pack(std::move(work), stock, opts, um_per_px, ctx);
  }
  if (type == "collodion" && paper_kind(paper) == "plate")
    return plate_positive(work, stock, paper, opts, um_per_px, ctx);
  if (prints_by_process(type, paper))
    return print_process(std::move(work), stock, paper, opts, um_per_px, uneven, process_mask, ctx);

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

  if (type == "collodion") return print_silver();
  Image print;
  if (type == "bw")
    print = print_silver();
  else if (paper_type.starts_with("bw"))
    print = print_color_on_bw(std::move(work), stock, paper, opts, um_per_px, uneven, ctx);
  else
    print = print_dyes();
  return reproduce_and_surface(std::move(print), type, paper, opts);
}

}  // namespace morva
