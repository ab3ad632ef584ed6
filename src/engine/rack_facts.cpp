#include "engine/rack_facts.h"

#include <algorithm>
#include <string>

#include "engine/fact_curves.h"
#include "film/grain.h"
#include "flow/develop_print.h"
#include "flow/film_frame.h"
#include "flow/sheet.h"
#include "flow/sheet_plan.h"
#include "flow/stock.h"
#include "optics/lens_parameters.h"
#include "plates/plate_view.h"
#include "print/paper.h"
#include "profiles/film.h"
#include "profiles/formats.h"
#include "profiles/number_arrays.h"
#include "profiles/peel_sizes.h"
#include "repro/beam_spot.h"
#include "repro/raster_plan.h"
#include "repro/tube_view.h"

namespace morva {

namespace {

// The options with the crop of that size, wherever it lies: sizes do not depend on its place.
Json cropped_options(const RackSetting& setting, PixelSize source) {
  Json opts = setting.opts;
  if (setting.crop.w >= 1 && setting.crop.h >= 1)
    opts["crop"] = {0.0, 0.0, static_cast<double>(setting.crop.w) / source.w,
                    static_cast<double>(setting.crop.h) / source.h};
  return opts;
}

void add_lens(Json& facts, const Json& lens, const Json& opts) {
  const LensAperture aperture = lens_aperture(lens, opts);
  facts["stop"] = aperture.stop;
  facts["vig"] = aperture.shares.vignetting;
  facts["swirl"] = aperture.shares.field;
  facts["residual"] = aperture.shares.vignette_residual;
}

// What of the film the picture takes.
Json window_of(const FilmFrame& frame, const Json& film, const Json& opts) {
  const FilmArea& area = frame.area;
  const double short_of_long =
      static_cast<double>(std::min(frame.picture.w, frame.picture.h)) / frame.pic_long();
  Json window;
  window["long_mm"] = area.long_um / 1000.0;
  window["short_mm"] = area.long_um / 1000.0 * short_of_long;
  window["exact"] = area.full_gate;
  window["legacy"] = !area.frame_name;
  window["fmt_um"] = area.gate_um;
  window["fmt"] = area.is_instant ? "instant" : area.family;
  window["size"] = nullptr;
  if (area.is_instant && is_peel_apart(get_object(film, "frame")))
    window["size"] = peel_size_name(opts);
  else if (!area.is_instant && area.frame_name)
    window["size"] = *area.frame_name;
  return window;
}

double widest_rebate(const FilmFrame& frame) {
  const auto& margins = frame.rebate.margins;
  return static_cast<double>(*std::max_element(margins.begin(), margins.end())) / frame.pic_long();
}

Json tone_of(const Json& stock) {
  const auto tint = three_numbers(get(stock, "_silver_tint"), "_silver_tint");
  return tint ? Json(*tint) : Json("neutral");
}

void add_grain_facts(Json& facts, const GrainCell& cell, double um_per_px, double grow) {
  const double cell_px = cell.size_um / um_per_px;
  facts["size_um"] = cell.size_um;
  facts["cell_px"] = cell_px;
  facts["cell_grown"] = cell_px * grow;
  facts["resolved"] = cell.resolved;
}

void add_paper(Json& facts, const Json& stock, const Json& paper, const Json& opts) {
  const std::string type = get_text_or(stock, "type", "");
  const bool viewed_as_positive = type == "collodion" && paper_kind(paper) == "plate";
  facts["kind"] = paper_kind(paper);
  facts["grade"] = paper_grade(paper, get_number(opts, "grade", 2.0));
  facts["print_ev"] = get_number(opts, "print_ev", 0.0);
  facts["exposure_shift"] =
      exposure_total(Json::object(), stock) + (viewed_as_positive ? positive_ev(paper) : 0.0);
  if (!prints_on_paper_curve(type, paper)) return;
  facts["paper_curve"] = paper_densities(stock, paper, opts);
  facts["through"] = densities_through_film(stock, paper, opts);
}

// The picture as the print run or the tube gets it, and the raster that it is drawn on.
struct Run {
  PixelSize picture;
  double px_um = 0.0;
  RasterScale scale;
};

void add_tube(Json& facts, const TubeView& view, const Run& run, bool mask_is_carried) {
  const ScanRaster as_it_is = {view.lines_seen, run.picture.h};
  const ScanRaster drawn = {view.lines_seen, enlarged_side(run.picture.h, run.scale)};
  facts["lines"] = view.lines_seen;
  facts["line_px"] = as_it_is.line_px();
  facts["lines_drawn"] = drawn.resolved();
  facts["has_mask"] = view.has_mask();
  facts["pitch_mm"] = view.pitch_mm;
  facts["mask_px"] = run.scale.plan.period_px;
  facts["mask_drawn"] = view.has_mask() && mask_is_carried;
}

void add_run(Json& facts, const Run& run, const Json& paper, const Json& opts) {
  const RasterPlan& plan = run.scale.plan;
  const bool carried = enlarged_plan(run.scale, run.px_um).resolved;
  facts["raster"] = {{"name", plan.repro},
                     {"period_um", plan.period_um},
                     {"period_px", plan.period_px},
                     {"resolved", plan.resolved},
                     {"drawn", carried}};
  if (plan.repro == "crt") add_tube(facts, plan_tube_view(paper, opts), run, carried);
}

}  // namespace

Json rack_facts(const RackSetting& setting) {
  const Json& paper = setting.paper;
  const PixelSize source = at_least_one(setting.source);
  Json opts = cropped_options(setting, source);
  const Json stock = developed_stock(setting.film, opts);
  const FilmFrame frame = plan_film_frame(setting.film, paper, opts, source);
  const FilmArea& area = frame.area;
  update_print_scale(opts, paper, frame);
  Run run = {frame.film(), get_number(opts, "print_px_um", kDefaultPrintPxUm), {}};
  const bool reproduced =
      setting.paper_named && is_reproduced(get_text_or(stock, "type", ""), paper);
  if (reproduced)
    run.scale = plan_raster_scale(paper, opts, run.picture.h, run.picture.w, run.px_um);
  const double grow = run.scale.up * run.scale.over;

  Json facts;
  if (!setting.lens.is_null() && !area.is_instant) add_lens(facts, setting.lens, opts);
  facts["window"] = window_of(frame, setting.film, opts);
  facts["frame_frac"] = widest_rebate(frame);
  facts["print_cm"] = area.is_instant ? area.long_um / 1e4 : get_number(opts, "print_cm", 30.0);
  facts["curves"] = film_curves(stock, opts);
  facts["tone"] = tone_of(stock);
  if (!area.is_instant) facts["frame_sizes"] = frame_names(area.family);
  facts["long_px"] = frame.film_long();
  facts["grow"] = grow;
  facts["long_grown"] = enlarged_side(frame.film_long(), run.scale);
  if (!area.is_instant)
    if (const auto cell = grain_cell(stock, opts, frame.um_per_px()))
      add_grain_facts(facts, *cell, frame.um_per_px(), grow);
  if (setting.paper_named) add_paper(facts, stock, paper, opts);
  if (reproduced) add_run(facts, run, paper, opts);
  return facts;
}

}  // namespace morva
