#include "flow/options.h"

#include <exception>
#include <new>
#include <set>

#include "image/errors.h"
#include "profiles/json_text.h"

namespace morva {

namespace {

const Json& default_options() {
  static const Json defaults = Json::parse(R"({
    "blind_stamp": null, "border": 0.0, "border_black": false, "c41_temp_c": 30.0,
    "card_outside": null, "coat": null, "coat_rough": null, "crop_gate": "full",
    "crt_phosphor": null, "crt_size_in": null, "crt_zoom": 1.0, "dev": "standard",
    "dev_mottle": 1.0, "dev_temp_c": 21.0, "dev_uneven": 0.0, "distortion": true,
    "emboss_line": null, "ev": 0.0, "expired_years": 0.0, "filter": null, "filter_amount": 1.0,
    "filter_cut": null, "filter_cut_amount": 1.0, "filter_diffusion": null,
    "filter_diffusion_amount": 1.0, "filter_grad": null, "filter_rays": null, "format": "135",
    "format_120_cm": 6.0, "frame": 0.0, "frame_rough": 1.0, "frame_size": null,
    "frame_style": "none", "glow_mult": null, "glow_radius_mult": null, "grad_angle": 0.0,
    "grad_pos": 0.0, "grade": 2.0, "grain_engine": "growth", "grain_mult": 1.0, "grain_rms": false,
    "grain_size_mult": 1.0, "halation_mult": 1.0, "ink_roller": null, "inkjet_banding": 1.0,
    "inkjet_feed": "long", "instant_frame": true, "intensify": 0.0, "interlayer": false,
    "master_cap": true, "mat": null, "mat_bevel_mm": 1.6, "mat_bottom_weight": 1.12,
    "mat_color": null, "mat_core": null, "mat_grip_mm": 4.0, "mat_reveal_color": null,
    "mat_reveal_mm": 6.0, "mat_width_cm": 6.0, "mirror": false, "paper_base": null,
    "peel_size": "3x4", "pickup": null, "plate_mark": null, "plate_pour": 1.0, "plate_shift": 1.0,
    "print_black": 0.0, "print_cm": 30.0, "print_ev": 0.0, "print_texture": 1.0,
    "print_white": 0.0, "push": 0.0, "rays_angle": 0.0, "redscale": false, "relief": null,
    "repro_raster": "auto", "rotate": 0, "seed": 20260821, "seed_variants": null, "sheet_cm": null,
    "social_by": "width", "social_crop45": false, "social_px": 1080, "src_exposure": "auto",
    "stamp_size": "m", "stamp_text": null, "stop": 0.0, "table": null, "table_width_cm": 3.0,
    "wb_mode": "film", "wb_temp": 0.0, "wb_tint": 0.0
  })");
  return defaults;
}

const std::set<std::string>& accepted_keys() {
  static const std::set<std::string> keys = [] {
    std::set<std::string> all = {"crop", "crop_angle", "_source_gain"};  // these have no default
    for (const auto& [key, value] : default_options().items()) all.insert(key);
    return all;
  }();
  return keys;
}

}  // namespace

Json parse_options(const char* text) {
  if (text == nullptr || *text == '\0') return Json();
  try {
    return parse_json(text);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    throw OptionsError(std::string("опции — не JSON: ") + error.what());
  }
}

Json merged_options(const Json& user) {
  Json merged = default_options();
  if (user.is_null()) return merged;
  if (!user.is_object()) throw OptionsError("опции должны быть JSON-объектом");
  for (const auto& [key, value] : user.items()) {
    if (!accepted_keys().contains(key)) throw OptionsError("незнакомый ключ опций: «" + key + "»");
    merged[key] = value;
  }
  return merged;
}

const std::string& option_keys_text() {
  static const std::string text = [] {
    std::string joined;
    for (const std::string& key : accepted_keys()) joined += (joined.empty() ? "" : ",") + key;
    return joined;
  }();
  return text;
}

}  // namespace morva
