#include "gpu/flow.h"

#include <optional>
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
#include "gpu/develop_print.h"
#include "gpu/stages/camera_filters.h"
#include "gpu/stages/filters.h"
#include "gpu/stages/frame_placement.h"
#include "gpu/stages/lens.h"
#include "gpu/stages/round_trip.h"
#include "gpu/stages/scan.h"
#include "gpu/stages/white_balance.h"
#include "image/resample.h"
#include "input/rotate_crop.h"
#include "input/source_gain.h"
#include "profiles/seeds.h"

namespace morva::gpu {

namespace {

PixelSize size_of(const GImage& picture) {
  return {picture.width, picture.height};
}

// The source as the film is to see it; nothing where the host's picture is that already.
std::optional<Image> prepared_source(const Image& input, const Json& opts) {
  if (is_upright({input.w, input.h}, opts) && !source_gain_of(opts)) return std::nullopt;
  Image source = upright_source(input, opts);
  apply_source_gain(source, opts);
  return source;
}

std::optional<Image> mask_of(const FilmFrame& frame, const Json& opts) {
  if (!frame.rebate.has_canvas()) return std::nullopt;
  Rng rng = seeded_rng(opts, kFrameStream);
  return rebate_mask(frame.rebate, frame.style, rng);
}

}  // namespace

Image render_on_gpu(Device& device, StageTimes& stage_times, const ProfileStore& store,
                    const Image& input, const Json& film, const Json& lens, const Json& paper,
                    const Json& options, RenderContext& ctx) {
  std::optional<StageTimer> stage;
  const auto begin_stage = [&](const char* label) { stage.emplace(device, stage_times, label); };

  // The stock, the source and its place on the film.
  begin_stage("вход: кроп и ориентация (CPU)");
  Json opts = merged_options(options);
  const Json resolved = developed_stock(film, opts);
  const FilmFrame frame = plan_sheet(film, paper, opts, {input.w, input.h}).frame;
  std::optional<Image> source = prepared_source(input, opts);

  begin_stage("загрузка кадра на GPU");
  GImage work = device.upload(source ? *source : input);
  source.reset();

  // The raster that the film can resolve, and what stands in front of it.
  begin_stage("мастер-растр, фильтры, оптика");
  work = resize(device, work, frame.master.w, frame.master.h, kResizeLanczos);
  if (fills_instant_opening(frame.area, opts))
    work = on_cpu(device, std::move(work),
                  [&](Image light) { return instant_opening_crop(std::move(light), film, opts); });
  check_cancel(ctx);
  work = apply_wb(device, std::move(work), resolved, opts);
  work = apply_front_filters(device, std::move(work), opts, store);
  work = apply_lens(device, std::move(work), lens, opts, ctx);
  work = apply_filters(device, std::move(work), resolved, opts, store);
  check_cancel(ctx);

  // On the film: rebate, scale and seeds.
  begin_stage("кайма (план CPU), поле бачка (CPU)");
  PrintPlace place = {mask_of(frame, opts), static_cast<double>(frame.pic_long())};
  work = place_on_film(device, work, frame.rebate);
  std::optional<Image> uneven = uneven_development(film, frame, size_of(work), opts);
  note_film_scale(opts, paper, frame);
  std::optional<Image> process_mask;
  if (prints_by_process(get_text_or(film, "type", ""), paper))
    process_mask = std::exchange(place.mask, std::nullopt);
  stage.reset();
  const Json stock = seeded_stock(resolved, film, frame.area, opts);

  // Development and print.
  GImage print = develop_print({device, stock, paper, opts, frame.um_per_px(),
                                uneven ? &*uneven : nullptr, ctx, stage_times},
                               std::move(work), process_mask ? &*process_mask : nullptr);
  uneven.reset();
  process_mask.reset();
  check_cancel(ctx);

  begin_stage("скан, окно держателя");
  follow_print_raster(frame.film_long(), size_of(print), place, opts);
  if (paper_kind(paper) == "scan") {
    const int before = long_side(size_of(print));
    print = scan_finish(device, std::move(print), paper);
    follow_resize(before, size_of(print), place, opts);
  }
  if (frame.area.is_instant) {
    begin_stage("выгрузка кадра с GPU");
    Image picture = device.download(print);
    print = GImage{};
    begin_stage("карточка и оформление (CPU)");
    return instant_finish(std::move(picture), stock, opts);
  }

  // The sheet.
  stage.reset();
  SheetDressing dressing =
      plan_dressing(size_of(print), place, resolved, paper, frame, std::move(opts), ctx);
  if (place.mask) lay_base_outside(device, print, device.upload(*place.mask), dressing.base);
  place.mask.reset();
  begin_stage("выгрузка кадра с GPU");
  Image sheet = device.download(print);
  print = GImage{};
  begin_stage("оформление (CPU)");
  return dress_sheet(std::move(sheet), std::move(dressing), paper);
}

}  // namespace morva::gpu
