// The exports that answer before a render.

#include <string>

#include "engine/boundary.h"
#include "engine/engine_state.h"
#include "engine/plan_queries.h"
#include "engine/rack_facts.h"
#include "flow/flow.h"
#include "flow/options.h"
#include "flow/sheet_plan.h"
#include "morva.h"

using namespace morva;

namespace {

// Gives `answer` the store and the merged options. A failure of any of them is the export's code.
template <class Answer>
std::int32_t query(const char* options, MorvaError* err, const Answer& answer) noexcept {
  return guarded(err, query_failure, [&]() -> std::int32_t {
    const ProfileStore* store = ensure_profiles(err);
    if (store == nullptr) return MORVA_PROFILE_FAILED;
    answer(*store, merged_options(parse_options(options)));
    return MORVA_OK;
  });
}

}  // namespace

extern "C" {

MORVA_API int32_t morva_output_size(const char* options, const char* film, const char* paper,
                                    int32_t width, int32_t height, int32_t* out_w, int32_t* out_h,
                                    MorvaError* err) {
  clear(err);
  if (film == nullptr || out_w == nullptr || out_h == nullptr || width < 1 || height < 1)
    return fail(err, MORVA_BAD_ARGUMENT, "morva_output_size: пустой аргумент или размер");
  return query(options, err, [&](const ProfileStore& store, const Json& opts) {
    const Json stock = store.load("films", film);
    const Json positive = load_positive(store, stock, paper != nullptr ? paper : "");
    const PixelSize sheet = plan_sheet(stock, positive, opts, {width, height}).sheet;
    *out_w = sheet.w;
    *out_h = sheet.h;
  });
}

MORVA_API int32_t morva_frame_caps(int32_t width, int32_t height, const char* options,
                                   const char* film, int32_t* cap_px, int32_t* grain_px,
                                   MorvaError* err) {
  clear(err);
  if (film == nullptr || cap_px == nullptr || grain_px == nullptr)
    return fail(err, MORVA_BAD_ARGUMENT, "morva_frame_caps: пустой аргумент");
  return query(options, err, [&](const ProfileStore& store, const Json& opts) {
    const FrameCaps caps = frame_caps(store.load("films", film), opts, {width, height});
    *cap_px = caps.master;
    *grain_px = caps.grain;
  });
}

MORVA_API int32_t morva_crop_aspects(const char* options, const char* film, double* frame_aspect,
                                     double* forced_aspect, MorvaError* err) {
  clear(err);
  if (film == nullptr || frame_aspect == nullptr || forced_aspect == nullptr)
    return fail(err, MORVA_BAD_ARGUMENT, "morva_crop_aspects: null argument");
  return query(options, err, [&](const ProfileStore& store, const Json& opts) {
    const CropAspects aspects = crop_aspects(store.load("films", film), opts);
    *frame_aspect = aspects.frame;
    *forced_aspect = aspects.forced;
  });
}

MORVA_API int32_t morva_rack_facts(const char* options, const char* film, const char* lens,
                                   const char* paper, int32_t width, int32_t height, int32_t crop_w,
                                   int32_t crop_h, char* buf, int32_t cap, MorvaError* err) {
  clear(err);
  if (film == nullptr) return fail(err, MORVA_BAD_ARGUMENT, "morva_rack_facts: null stock");
  return query(options, err, [&](const ProfileStore& store, const Json& opts) {
    const std::string lens_name = lens != nullptr ? lens : "";
    const std::string paper_name = paper != nullptr ? paper : "";
    RackSetting setting;
    setting.film = store.load("films", film);
    if (!lens_name.empty()) setting.lens = store.load("lenses", lens_name);
    setting.paper = load_positive(store, setting.film, paper_name);
    setting.paper_named = !paper_name.empty();
    setting.opts = opts;
    setting.source = {width, height};
    setting.crop = {crop_w, crop_h};
    hand_out(rack_facts(setting).dump(), buf, cap);
  });
}

}  // extern "C"
