#include "flow/flow.h"

#include <stdexcept>
#include <utility>

#include "finish/instant_card.h"
#include "finish/rebate.h"
#include "flow/develop_print.h"
#include "flow/film_frame.h"
#include "flow/options.h"
#include "flow/sheet.h"
#include "flow/sheet_dressing.h"
#include "flow/sheet_plan.h"
#include "flow/stock.h"
#include "gpu/backend.h"
#include "image/resample.h"
#include "input/rotate_crop.h"
#include "input/source_gain.h"
#include "optics/camera_filters.h"
#include "optics/lens.h"
#include "optics/white_balance.h"
#include "print/scan.h"
#include "profiles/film.h"
#include "profiles/seeds.h"
#include "repro/repro.h"

namespace morva {

namespace {

Image fit_master(Image work, PixelSize master) {
  if (work.w == master.w && work.h == master.h) return work;
  return resize_image(work, master.w, master.h, kResizeLanczos);
}

Rebate expose_rebate(Image work, const FilmFrame& frame, const Json& opts) {
  Rng rng = seeded_rng(opts, kFrameStream);
  return lay_rebate(std::move(work), frame.rebate, frame.style, rng);
}

PixelSize size_of(const Image& image) {
  return {image.w, image.h};
}

void require_picture(const Image& input, const Json& paper) {
  const bool is_picture = input.c == 3 && input.h >= 1 && input.w >= 1;
  if (!is_picture) throw std::invalid_argument("вход — HxWx3, не пустой");
  if (!paper.is_object()) throw std::invalid_argument("process: бумага не загружена");
}

}  // namespace

Image render_named(const ProfileStore& store, Image&& input, const std::string& film_name,
                   const std::string& lens_name, const std::string& paper_name, const Json& options,
                   RenderContext& ctx) {
  const Json film = store.load("films", film_name);
  const Json lens = store.load("lenses", lens_name);
  const Json paper = load_positive(store, film, paper_name);
  return process(store, std::move(input), film, lens, paper, options, ctx);
}

Image process(const ProfileStore& store, Image&& input, const Json& film, const Json& lens,
              const Json& paper_profile, const Json& options, RenderContext& ctx) {
  require_picture(input, paper_profile);
  const Json paper = with_tube_of(film, paper_profile);
  if (ctx.gpu != nullptr) return ctx.gpu->render(store, input, film, lens, paper, options, ctx);

  // The stock.
  Json opts = merged_options(options);
  const Json resolved = developed_stock(film, opts);

  // The source, its place on the film, and the raster that the film can resolve. A sheet larger
  // than any is refused before the work on it.
  const FilmFrame frame = plan_sheet(film, paper, opts, size_of(input)).frame;
  Image work = upright_source(std::move(input), opts);
  apply_source_gain(work, opts);
  work = fit_master(std::move(work), frame.master);
  if (fills_instant_opening(frame.area, opts))
    work = instant_opening_crop(std::move(work), film, opts);
  check_cancel(ctx);

  // In front of the film.
  work = apply_wb(std::move(work), resolved, opts);
  work = apply_front_filters(std::move(work), opts, store);
  work = apply_lens(std::move(work), lens, opts, ctx);
  work = apply_filters(std::move(work), resolved, opts, store);
  check_cancel(ctx);

  // On the film: rebate, scale and seeds.
  Rebate rebate = expose_rebate(std::move(work), frame, opts);
  std::optional<Image> uneven = uneven_development(film, frame, size_of(rebate.work), opts);
  note_film_scale(opts, paper, frame);
  PrintPlace place = {std::move(rebate.mask), static_cast<double>(frame.pic_long())};
  std::optional<Image> process_mask;
  if (prints_by_process(get_text_or(film, "type", ""), paper))
    process_mask = std::exchange(place.mask, std::nullopt);
  const Json stock = seeded_stock(resolved, film, frame.area, opts);

  // Development and print.
  Image print =
      develop_print(std::move(rebate.work), stock, paper, opts, frame.um_per_px(),
                    uneven ? &*uneven : nullptr, ctx, process_mask ? &*process_mask : nullptr);
  uneven.reset();
  process_mask.reset();
  check_cancel(ctx);

  // The print may be finer than the film's raster, and a scan may change its size.
  follow_print_raster(frame.film_long(), size_of(print), place, opts);
  if (paper_kind(paper) == "scan") {
    const int before = long_side(size_of(print));
    print = scan_finish(std::move(print), paper);
    follow_resize(before, size_of(print), place, opts);
  }
  if (frame.area.is_instant) return instant_finish(std::move(print), stock, opts);

  // The sheet.
  SheetDressing dressing =
      plan_dressing(size_of(print), place, resolved, paper, frame, std::move(opts), ctx);
  if (place.mask) lay_base_outside(print, *place.mask, dressing.base);
  place.mask.reset();
  return dress_sheet(std::move(print), std::move(dressing), paper);
}

Json load_positive(const ProfileStore& store, const Json& film, const std::string& paper_name) {
  return with_tube_of(
      film, store.load("papers", paper_name.empty() ? default_positive(film) : paper_name));
}

}  // namespace morva
