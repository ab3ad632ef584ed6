#include "flow/flow.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "film/ageing.h"
#include "film/uneven_development.h"
#include "finish/instant_card.h"
#include "finish/plate_mark.h"
#include "finish/rebate.h"
#include "flow/develop_print.h"
#include "flow/film_frame.h"
#include "flow/options.h"
#include "flow/sheet.h"
#include "flow/sheet_plan.h"
#include "gpu/backend.h"
#include "image/resample.h"
#include "input/rotate_crop.h"
#include "input/source_gain.h"
#include "optics/camera_filters.h"
#include "optics/lens.h"
#include "optics/white_balance.h"
#include "print/process_block.h"
#include "print/scan.h"
#include "profiles/film.h"
#include "profiles/number_arrays.h"
#include "profiles/seeds.h"
#include "repro/repro.h"

namespace morva {

namespace {

int long_side(const Image& image) {
  return std::max(image.h, image.w);
}

Image fit_master(Image work, PixelSize master) {
  if (work.w == master.w && work.h == master.h) return work;
  return resize_image(work, master.w, master.h, kResizeLanczos);
}

Rebate expose_rebate(Image work, const FilmFrame& frame, const Json& opts) {
  Rng rng = seeded_rng(opts, kFrameStream);
  return lay_rebate(std::move(work), frame.rebate, frame.style, rng);
}

std::optional<Image> develop_unevenly(const Image& scene, double um_per_px, const std::string& type,
                                      const FilmArea& area, const Json& opts) {
  const double strength = get_number(opts, "dev_uneven", 0.0);
  if (strength <= 0.0001 || area.is_instant || type == "collodion") return std::nullopt;
  const std::string size_name = !area.frame_name             ? area.format_name
                                : *area.frame_name == "half" ? "half"
                                                             : area.family;
  Rng rng = seeded_rng(opts, kDevelopStream);
  return uneven_field(scene.w, scene.h, um_per_px, size_name, strength, rng);
}

// The stock's own seeds, from which its stages rebuild their generators.
Json seeded_stock(const Json& resolved, const Json& film, const std::string& type, bool is_instant,
                  const Json& opts) {
  Json stock = resolved;
  if (truthy(get(resolved, "dryplate")))
    stock["_dry_seed"] = stream_key(opts, kFilmStream, kDryPlateTag);
  if (type == "collodion") stock["_plate_seed"] = stream_key(opts, kFilmStream, kCollodionTag);
  if (is_instant) instant_seeds(stock, film, opts);
  return stock;
}

// A stage returned a raster `ratio` times as fine: the mask and the print's scale follow it.
void follow_raster(double ratio, const Image& print, std::optional<Image>& mask, Json& opts,
                   double& pic_long_out) {
  if (mask && (mask->h != print.h || mask->w != print.w))
    mask = pil_resize(*mask, print.w, print.h, kResizeBicubic);
  pic_long_out *= ratio;
  opts["print_px_um"] = get_number(opts, "print_px_um", kDefaultPrintPxUm) / ratio;
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
  opts["_border_px"] = border_px;
  Json insets = Json::array();
  for (const int inset : frame.rebate.margins)
    insets.push_back(static_cast<double>(inset) / frame.pic_long() * pic_long_out + border_px);
  opts["_pic_inset_px"] = std::move(insets);
  const double print_px_um = get_number(opts, "print_px_um", kDefaultPrintPxUm);
  if (const auto plate_px = plate_mark_px(paper, opts, border_px, print_px_um))
    opts["_plate_px"] = *plate_px;
}

// The print on its sheet, with what surrounds it.
Image lay_on_sheet(Image print, std::optional<Image> rebate_mask, const Json& resolved,
                   const Json& paper, const FilmFrame& frame, double pic_long_out, Json opts,
                   RenderContext& ctx) {
  const double wanted_border = get_number(opts, "border", 0.0);
  const bool has_sheet = paper_has_sheet(paper);
  const std::array<float, 3> base = sheet_colour(paper, opts);
  std::array<float, 3> border_rgb = base;
  if (get_bool(opts, "border_black", false) && !has_sheet && wanted_border > 0.0)
    border_rgb = black_probe(resolved, paper, opts, frame.um_per_px(), ctx);
  std::optional<std::array<double, 4>> white;
  if (rebate_mask) {
    if (rebate_mask->h != print.h || rebate_mask->w != print.w)
      rebate_mask = pil_resize(*rebate_mask, print.w, print.h, kResizeBicubic);
    lay_base_outside(print, *rebate_mask, base);
    white = measure_white_frame(*rebate_mask, pic_long_out, frame.style.preset);
  }
  const double border = border_of_print(paper, opts, pic_long_out, long_side(print));
  const double border_px = long_side(print) * border;
  if (is_chosen(opts, "mat") && border <= 0.0 && white) opts["_frame_white_px"] = *white;
  opts["_sheet_thickness_mm"] = get_number(paper, "thickness_mm", 0.25);
  if (has_sheet)
    note_sheet_geometry(opts, paper, frame, pic_long_out, border_px);
  else
    opts["_border_px"] = border_px;
  print = pad_border(std::move(print), border, border_rgb);
  if (has_sheet) print = press_plate_mark(std::move(print), paper, opts);
  return finish_sheet(std::move(print), std::move(opts), !has_sheet);
}

void require_picture(const Image& input, const Json& paper) {
  const bool is_picture = input.c == 3 && input.h >= 1 && input.w >= 1;
  if (!is_picture) throw std::invalid_argument("вход — HxWx3, не пустой");
  if (!paper.is_object()) throw std::invalid_argument("process: бумага не загружена");
}

}  // namespace

Image render_named(const ProfileStore& store, Image input, const std::string& film_name,
                   const std::string& lens_name, const std::string& paper_name, const Json& options,
                   RenderContext& ctx) {
  const Json film = store.load("films", film_name);
  const Json lens = store.load("lenses", lens_name);
  const Json paper = load_positive(store, film, paper_name);
  return process(store, std::move(input), film, lens, paper, options, ctx);
}

Image process(const ProfileStore& store, Image input, const Json& film, const Json& lens,
              const Json& paper_profile, const Json& options, RenderContext& ctx) {
  require_picture(input, paper_profile);
  const Json paper = with_tube_of(film, paper_profile);
  if (ctx.gpu != nullptr) return ctx.gpu->render(store, input, film, lens, paper, options, ctx);

  // The stock.
  Json opts = merged_options(options);
  const std::string type = get_text_or(film, "type", "");
  const Json resolved = developed_stock(film, opts);

  // The source, its place on the film, and the raster that the film can resolve. A sheet larger
  // than any is refused before the work on it.
  const FilmFrame frame = plan_sheet(film, paper, opts, {input.w, input.h}).frame;
  const FilmArea& area = frame.area;
  Image work = upright_source(std::move(input), opts);
  apply_source_gain(work, opts);
  work = fit_master(std::move(work), frame.master);
  if (fills_instant_opening(area, opts)) work = instant_opening_crop(std::move(work), film, opts);
  check_cancel(ctx);

  // In front of the film.
  work = apply_wb(std::move(work), resolved, opts);
  work = apply_front_filters(std::move(work), opts, store);
  work = apply_lens(std::move(work), lens, opts, ctx);
  work = apply_filters(std::move(work), resolved, opts, store);
  check_cancel(ctx);

  // On the film: rebate, scale and seeds.
  Rebate rebate = expose_rebate(std::move(work), frame, opts);
  const double um_per_px = frame.um_per_px();
  std::optional<Image> uneven = develop_unevenly(rebate.work, um_per_px, type, area, opts);
  opts["_format_long_um"] = area.long_um;
  opts["_growth_seed"] = stream_key(opts, kFilmStream);
  update_print_scale(opts, paper, area.is_instant, area.long_um, frame.pic_long(),
                     frame.film_long());
  std::optional<Image> process_mask;
  if (prints_by_process(type, paper)) process_mask = std::exchange(rebate.mask, std::nullopt);
  const Json stock = seeded_stock(resolved, film, type, area.is_instant, opts);

  // Development and print.
  Image print =
      develop_print(std::move(rebate.work), stock, paper, opts, um_per_px,
                    uneven ? &*uneven : nullptr, ctx, process_mask ? &*process_mask : nullptr);
  uneven.reset();
  process_mask.reset();
  check_cancel(ctx);

  // The print may be finer than the film's raster, and a scan may change its size.
  double pic_long_out = frame.pic_long();
  const double ratio = static_cast<double>(long_side(print)) / frame.film_long();
  if (ratio > 1.001) follow_raster(ratio, print, rebate.mask, opts, pic_long_out);
  if (paper_kind(paper) == "scan") {
    const int before = long_side(print);
    print = scan_finish(std::move(print), paper);
    if (long_side(print) != before)
      follow_raster(static_cast<double>(long_side(print)) / before, print, rebate.mask, opts,
                    pic_long_out);
  }
  if (area.is_instant) return instant_finish(std::move(print), stock, opts);
  return lay_on_sheet(std::move(print), std::move(rebate.mask), resolved, paper, frame,
                      pic_long_out, std::move(opts), ctx);
}

Json load_positive(const ProfileStore& store, const Json& film, const std::string& paper_name) {
  return with_tube_of(
      film, store.load("papers", paper_name.empty() ? default_positive(film) : paper_name));
}

Json developed_stock(const Json& film, const Json& opts) {
  const Json prepared = prepare_film(film, opts);
  const double c41_temp_c = get_number(opts, "c41_temp_c", 30.0);
  const double dev_mottle = get_number(opts, "dev_mottle", 1.0);
  const double dev_temp_c = get_number(opts, "dev_temp_c", 21.0);
  const std::string dev = get_text_or(opts, "dev", "standard");
  const double push = get_number(opts, "push", 0.0);
  return resolve_film(prepared, push, dev, dev_temp_c, dev_mottle, c41_temp_c);
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
