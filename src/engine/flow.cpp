#include "engine/flow.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "engine/develop_print.h"
#include "engine/film_area.h"
#include "engine/options.h"
#include "engine/pending.h"
#include "engine/sheet.h"
#include "film/ageing.h"
#include "film/uneven_development.h"
#include "finish/instant_card.h"
#include "finish/plate_mark.h"
#include "finish/rebate.h"
#include "finish/rebate_plan.h"
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
#include "profiles/formats.h"
#include "profiles/number_arrays.h"
#include "profiles/seeds.h"

namespace morva {

namespace {

int long_side(const Image& image) {
  return std::max(image.h, image.w);
}

// What the picture measures on the film.
struct FrameMeasure {
  const RebatePreset* preset = nullptr;      // of the rebate, when its style has one
  std::array<int, 4> insets = {0, 0, 0, 0};  // of the picture within the rebate, pixels
  int pic_long = 0;                          // long side without the rebate, pixels
  int film_long = 0;                         // and with it
  double um_per_px = 0.0;
};

// A plate never gets the wide rebate.
void narrow_plate_rebate(Json& opts, const std::string& type, const FilmArea& area) {
  const bool is_plate = type == "collodion" || area.family == "plate";
  if (is_plate && get_text_or(opts, "frame_style", "none") == "wide") opts["frame_style"] = "thin";
}

Rebate lay_rebate(Image work, const FilmArea& area, const RebateStyle& style, const Json& opts,
                  int pic_long) {
  Rng rng = seeded_rng(opts, kFrameStream);
  if (!rebate_follows_format(style, area.family, area.full_gate))
    return plain_rebate(std::move(work), style, rng);
  const double px_per_mm = pic_long / (area.long_um / 1000.0);
  const double width_ratio = style.width > 0.0 ? style.width / style.preset->frame_frac : 1.0;
  const double format_cm =
      area.frame_name ? frame_cm(*area.frame_name) : get_number_or(opts, "format_120_cm", 6.0, 6.0);
  return format_rebate(std::move(work), area.family, style, rng, px_per_mm, format_cm, width_ratio);
}

// Instant film and the screen of a tube have no rebate.
Rebate expose_rebate(Image work, const std::string& type, const FilmArea& area, const Json& paper,
                     Json& opts, FrameMeasure& frame) {
  frame.pic_long = long_side(work);
  Rebate rebate;
  if (area.is_instant || get_text_or(paper, "repro", "") == "crt") {
    rebate.work = std::move(work);
  } else {
    narrow_plate_rebate(opts, type, area);
    const RebateStyle style = rebate_style(opts);
    frame.preset = style.preset;
    rebate = lay_rebate(std::move(work), area, style, opts, frame.pic_long);
  }
  frame.insets = rebate.insets;
  frame.film_long = long_side(rebate.work);
  frame.um_per_px = area.long_um / frame.film_long;
  return rebate;
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

// `border` is a fraction of the picture's long side; the sheet wants one of the print's. A plate
// has none.
double border_of_print(double border, const Json& paper, double pic_long_out, const Image& print) {
  if (paper_kind(paper) == "plate") return 0.0;
  return border > 0.0 ? border * pic_long_out / long_side(print) : border;
}

// Where the picture and the plate mark lie on a sheet with a border.
void note_sheet_geometry(Json& opts, const Json& paper, const FrameMeasure& frame,
                         double pic_long_out, double border_px) {
  opts["_border_px"] = border_px;
  Json insets = Json::array();
  for (const int inset : frame.insets)
    insets.push_back(static_cast<double>(inset) / std::max(1, frame.pic_long) * pic_long_out +
                     border_px);
  opts["_pic_inset_px"] = std::move(insets);
  const double print_px_um = get_number(opts, "print_px_um", kDefaultPrintPxUm);
  if (const auto plate_px = plate_mark_px(paper, opts, border_px, print_px_um))
    opts["_plate_px"] = *plate_px;
}

// The print on its sheet, with what surrounds it.
Image lay_on_sheet(Image print, std::optional<Image> rebate_mask, const Json& resolved,
                   const Json& paper, const FrameMeasure& frame, double pic_long_out, Json opts,
                   RenderContext& ctx) {
  const double wanted_border = get_number(opts, "border", 0.0);
  const bool has_sheet = paper_has_sheet(paper);
  const std::array<float, 3> base = sheet_colour(paper, opts);
  std::array<float, 3> border_rgb = base;
  if (get_bool(opts, "border_black", false) && !has_sheet && wanted_border > 0.0)
    border_rgb = black_probe(resolved, paper, opts, frame.um_per_px, ctx);
  std::optional<std::array<double, 4>> white;
  if (rebate_mask) {
    if (rebate_mask->h != print.h || rebate_mask->w != print.w)
      rebate_mask = pil_resize(*rebate_mask, print.w, print.h, kResizeBicubic);
    lay_base_outside(print, *rebate_mask, base);
    white = measure_white_frame(*rebate_mask, pic_long_out, frame.preset);
  }
  const double border = border_of_print(wanted_border, paper, pic_long_out, print);
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
  const Json paper = store.load("papers", paper_name.empty() ? default_positive(film) : paper_name);
  return process(store, std::move(input), film, lens, paper, options, ctx);
}

Image process(const ProfileStore& store, Image input, const Json& film, const Json& lens,
              const Json& paper, const Json& options, RenderContext& ctx) {
  require_picture(input, paper);
  if (ctx.gpu != nullptr) return ctx.gpu->render(store, input, film, lens, paper, options, ctx);

  // The stock.
  Json opts = merged_options(options);
  const std::string type = get_text_or(film, "type", "");
  const Json resolved = developed_stock(film, opts);

  // The source, its place on the film, and the raster that the film can resolve.
  const PixelSize whole = {input.w, input.h};
  UprightSource source = upright_source(std::move(input), opts);
  apply_source_gain(source.picture, opts);
  const FilmArea area = plan_film_area(film, opts, whole.w, whole.h, source.crop.w, source.crop.h);
  Image work = fit_master(std::move(source.picture), film, area, opts);
  if (area.is_instant && get_bool(opts, "instant_frame", true))
    work = instant_opening_crop(std::move(work), film, opts);
  // A card too large is refused before the work on it; where a scan shrinks the picture, after it.
  if (!truthy(get(get_object(paper, "scan"), "long_px")))
    plan_instant_card(film, opts, {work.w, work.h});
  check_cancel(ctx);

  // In front of the film.
  work = apply_wb(std::move(work), resolved, opts);
  work = apply_front_filters(std::move(work), opts, store);
  work = apply_lens(std::move(work), lens, opts, ctx);
  work = apply_filters(std::move(work), resolved, opts, store);
  check_cancel(ctx);

  // On the film: rebate, scale and seeds.
  FrameMeasure frame;
  Rebate rebate = expose_rebate(std::move(work), type, area, paper, opts, frame);
  std::optional<Image> uneven = develop_unevenly(rebate.work, frame.um_per_px, type, area, opts);
  opts["_format_long_um"] = area.long_um;
  opts["_growth_seed"] = stream_key(opts, kFilmStream);
  update_print_scale(opts, paper, area.is_instant, area.long_um, frame.pic_long, frame.film_long);
  std::optional<Image> process_mask;
  if (prints_by_process(type, paper)) process_mask = std::exchange(rebate.mask, std::nullopt);
  const Json stock = seeded_stock(resolved, film, type, area.is_instant, opts);

  // Development and print.
  Image print =
      develop_print(std::move(rebate.work), stock, paper, opts, frame.um_per_px,
                    uneven ? &*uneven : nullptr, ctx, process_mask ? &*process_mask : nullptr);
  uneven.reset();
  process_mask.reset();
  check_cancel(ctx);

  // The print may be finer than the film's raster, and a scan may change its size.
  double pic_long_out = frame.pic_long;
  const double ratio = static_cast<double>(long_side(print)) / std::max(1, frame.film_long);
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

Json developed_stock(const Json& film, const Json& opts) {
  const Json prepared = prepare_film(film, opts);
  const double c41_temp_c = get_number(opts, "c41_temp_c", 30.0);
  const double dev_mottle = get_number(opts, "dev_mottle", 1.0);
  const double dev_temp_c = get_number(opts, "dev_temp_c", 21.0);
  const std::string dev = get_text_or(opts, "dev", "standard");
  const double push = get_number(opts, "push", 0.0);
  return resolve_film(prepared, push, dev, dev_temp_c, dev_mottle, c41_temp_c);
}

void update_print_scale(Json& opts, const Json& paper, bool is_instant, double long_um,
                        int pic_long, int film_long) {
  if (truthy(get(opts, "sheet_cm")) && !is_instant) {  // what two borders leave of the whole paper
    const double border_of_film = get_number(opts, "border", 0.0) * pic_long / film_long;
    opts["print_cm"] =
        std::max(1.0, get_number(opts, "sheet_cm", 0.0) / (2.0 * border_of_film + 1.0));
  }
  if (get_text_or(paper, "repro", "") == "crt") {
    if (const auto screen_cm = crt_image_cm(paper, opts)) opts["print_cm"] = *screen_cm;
  }
  if (paper_kind(paper) == "plate") opts["print_cm"] = long_um / 10000.0;
  opts["print_px_um"] = get_number(opts, "print_cm", 30.0) * 10000.0 / film_long;
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
