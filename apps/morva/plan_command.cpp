#include "plan_command.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "console.h"
#include "engine_facts.h"
#include "framing.h"
#include "host_error.h"
#include "picture_reader.h"
#include "sheet_size.h"

namespace morva::host {
namespace {

using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;

struct Plan {
  PixelSize source{};
  PixelSize crop{};
  PixelSize raster{};  // the picture upright on its film, no finer than that
  PixelSize print{};   // with its rebate or card, without border, mat and table
  PixelSize sheet{};
  int32_t cap_px = 0;  // limits on the crop's long side; 0 where there is none
  int32_t grain_px = 0;
  double frame_aspect = 0.0;  // long over short; 0 where any will do
  double forced_aspect = 0.0;
  double um_per_px = 0.0;  // on the film
  double cm_per_px = 0.0;  // on paper
  OrderedJson facts;
};

int32_t long_side(PixelSize size) {
  return std::max(size.width, size.height);
}

double aspect(PixelSize size) {
  return static_cast<double>(long_side(size)) / std::min(size.width, size.height);
}

bool equal(PixelSize a, PixelSize b) {
  return a.width == b.width && a.height == b.height;
}

// Zero for what the engine does not tell.
double number(const OrderedJson& facts, const char* name) {
  const auto found = facts.find(name);
  return found != facts.end() && found->is_number() ? found->get<double>() : 0.0;
}

std::string text(const OrderedJson& facts, const char* name) {
  const auto found = facts.find(name);
  return found != facts.end() && found->is_string() ? found->get<std::string>() : "";
}

OrderedJson object(const OrderedJson& facts, const char* name) {
  const auto found = facts.find(name);
  return found != facts.end() && found->is_object() ? *found : OrderedJson::object();
}

void ask_limits(const RenderSetting& setting, const std::string& options, Plan& plan) {
  MorvaError error{};
  check_engine(morva_frame_caps(plan.source.width, plan.source.height, options.c_str(),
                                setting.film.c_str(), &plan.cap_px, &plan.grain_px, &error),
               error);
  check_engine(morva_crop_aspects(options.c_str(), setting.film.c_str(), &plan.frame_aspect,
                                  &plan.forced_aspect, &error),
               error);
}

PixelSize size_of_crop(const RenderSetting& setting, const Json& options, PixelSize source) {
  Json crop = picture_alone(Json::object());
  crop["master_cap"] = false;
  if (options.contains("crop")) crop["crop"] = options["crop"];
  return sheet_size(setting, crop, source);
}

bool is_instant(const OrderedJson& facts) {
  return text(object(facts, "window"), "fmt") == "instant";
}

// What the opening of an instant card leaves of the picture; a square one lies as its card does.
PixelSize in_opening(PixelSize picture, PixelSize card, const OrderedJson& facts) {
  const PixelSize like = picture.width != picture.height ? picture : card;
  const OrderedJson window = object(facts, "window");
  const double long_px = number(facts, "long_px");
  const double short_px = long_px * number(window, "short_mm") / number(window, "long_mm");
  const std::array<int32_t, 2> sides = {static_cast<int32_t>(std::nearbyint(long_px)),
                                        static_cast<int32_t>(std::nearbyint(short_px))};
  return like.width > like.height ? PixelSize{sides[0], sides[1]} : PixelSize{sides[1], sides[0]};
}

// Lengths in the engine's facts against pixels of the plan.
void measure(Plan& plan) {
  const double film_px = number(plan.facts, "long_px");
  const double print_px = is_instant(plan.facts) ? film_px : long_side(plan.print);
  plan.um_per_px = number(object(plan.facts, "window"), "long_mm") * 1000.0 / film_px;
  plan.cm_per_px = number(plan.facts, "print_cm") / print_px;
}

Plan plan_of(const RenderSetting& setting, const Json& options, PixelSize source) {
  // The film's own paper has no scanner's limit on the file.
  RenderSetting own_paper = setting;
  own_paper.paper.clear();
  Plan plan;
  plan.source = source;
  plan.sheet = sheet_size(setting, options, source);
  plan.print = sheet_size(setting, print_alone(options), source);
  plan.raster = sheet_size(own_paper, picture_alone(options), source);
  plan.crop = size_of_crop(own_paper, options, source);
  ask_limits(setting, options_text(options), plan);
  plan.facts = engine_facts(setting, options, source);
  if (is_instant(plan.facts)) plan.raster = in_opening(plan.raster, plan.print, plan.facts);
  measure(plan);
  return plan;
}

OrderedJson in_json(PixelSize size) {
  return {{"width", size.width}, {"height", size.height}};
}

OrderedJson in_json(PixelSize size, double cm_per_px) {
  OrderedJson paper = in_json(size);
  paper["width_cm"] = size.width * cm_per_px;
  paper["height_cm"] = size.height * cm_per_px;
  return paper;
}

OrderedJson report(const RenderSetting& setting, const Plan& plan) {
  OrderedJson report;
  report_setting(setting, plan.source, report);
  report["crop"] = in_json(plan.crop);
  report["raster"] = in_json(plan.raster);
  report["raster"]["um_per_px"] = plan.um_per_px;
  report["master_cap_px"] = plan.cap_px;
  report["grain_cap_px"] = plan.grain_px;
  report["print"] = in_json(plan.print, plan.cm_per_px);
  report["sheet"] = in_json(plan.sheet, plan.cm_per_px);
  report["fits"] = too_large(plan.sheet).empty();
  report["frame_aspect"] = plan.frame_aspect;
  report["forced_aspect"] = plan.forced_aspect;
  report["facts"] = plan.facts;
  return report;
}

std::string rounded(double value, int digits) {
  char digits_of[64];
  std::snprintf(digits_of, sizeof digits_of, "%.*f", digits, value);
  return digits_of;
}

std::string sides(double width, double height, const char* unit) {
  return rounded(width, 1) + " x " + rounded(height, 1) + " " + unit;
}

std::string film_in_words(const RenderSetting& setting, const OrderedJson& window) {
  std::string frame = text(window, "fmt");
  const std::string size = text(window, "size");
  if (!size.empty()) frame += " " + size;
  return setting.film + ", " + frame + ", " +
         sides(number(window, "long_mm"), number(window, "short_mm"), "mm");
}

std::string on_film(const Plan& plan) {
  return in_pixels(plan.raster) + ", " + rounded(plan.um_per_px, 2) + " um per pixel";
}

std::string on_paper(PixelSize size, double cm_per_px) {
  return in_pixels(size) + ", " + sides(size.width * cm_per_px, size.height * cm_per_px, "cm");
}

std::string limit(int32_t cap_px, const std::string& beyond) {
  if (cap_px == 0) return "none";
  return std::to_string(cap_px) + " pixels on the long side; " + beyond;
}

std::string wanted_aspect(const Plan& plan) {
  const std::string own = "the crop has " + rounded(aspect(plan.crop), 3);
  if (plan.forced_aspect > 0.0)
    return rounded(plan.forced_aspect, 3) + ", the card takes no other; " + own;
  if (plan.frame_aspect > 0.0) return rounded(plan.frame_aspect, 3) + " for the frame; " + own;
  return "any; " + own;
}

// The halftone of a press, the dots of a printer, the lines of a tube.
std::string screen_in_words(const OrderedJson& facts) {
  const std::string name = text(object(facts, "raster"), "name");
  const double grow = number(facts, "grow");
  if (!(grow > 1.0)) return name;
  return name + ", drawn " + rounded(grow, 1) + " times as fine, each way";
}

void print_as_lines(const RenderSetting& setting, const Plan& plan) {
  constexpr std::size_t kNameColumn = 12;
  const auto row = [](const char* name, const std::string& words) {
    print_line(padded(name, kNameColumn) + words);
  };
  const bool grain_shows = plan.facts.value("resolved", Json()) == true;
  row("picture", in_pixels(plan.source));
  row("crop", equal(plan.crop, plan.source) ? "the whole picture" : in_pixels(plan.crop));
  row("aspect", wanted_aspect(plan));
  row("film", film_in_words(setting, object(plan.facts, "window")));
  row("raster", on_film(plan));
  row("master cap", limit(plan.cap_px, "a larger picture is reduced to it"));
  row("grain cap", limit(plan.grain_px, grain_shows ? "here single grains show"
                                                    : "here a pixel averages over the grains"));
  if (plan.facts.contains("raster")) row("screen", screen_in_words(plan.facts));
  row("print", on_paper(plan.print, plan.cm_per_px));
  row("sheet", on_paper(plan.sheet, plan.cm_per_px));
}

}  // namespace

void run(const PlanRequest& request) {
  CheckedSetting checked = check_setting(request.setting);
  const RenderSetting& setting = checked.setting;
  Json& options = checked.options;
  const PixelSize source = read_picture_size(setting.input);
  const std::string stretched = frame_straightened(source.width, source.height, options);
  const Plan plan = plan_of(setting, options, source);
  for (const std::string& warning : {stretched, too_large(plan.sheet)})
    if (!warning.empty()) print_warning(warning);
  if (request.as_json)
    print_json(report(setting, plan));
  else
    print_as_lines(setting, plan);
}

}  // namespace morva::host
