#include "print/process_block.h"

#include <optional>

#include "image/errors.h"
#include "image/held.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

constexpr double kMost = 1e6;  // of any length or strength; beyond it nothing changes any more

double bounded(const Json& block, const char* key, double fallback, double least = 0.0,
               double most = kMost) {
  return held(get_number(block, key, fallback), least, most);
}

// The option where it is not null, else the block's own number.
double chosen(const Json& options, const char* option, const Json& block, const char* key,
              double fallback) {
  const bool given = !get(options, option).is_null();
  return given ? bounded(options, option, 0.0) : bounded(block, key, fallback);
}

// An option that scales: null leaves the block as it is.
double scale_of(const Json& options, const char* option) {
  return get(options, option).is_null() ? 1.0 : bounded(options, option, 1.0);
}

std::array<float, 3> colour(const Json& block, const char* key, std::array<float, 3> fallback,
                            double most) {
  const auto rgb = three_numbers(get(block, key), key);
  if (!rgb) return fallback;
  std::array<float, 3> result;
  for (int k = 0; k < 3; ++k) result[k] = static_cast<float>(held((*rgb)[k], 0.0, most));
  return result;
}

TextureKind texture_kind(const Json& block) {
  const std::string name = get_text_or(block, "kind", "");
  if (name == "raster") return TextureKind::cells;
  if (name == "wood") return TextureKind::wood;
  return name == "fibre" ? TextureKind::fibre : TextureKind::grain;
}

TextureBlock read_texture(const Json& block, const Json& options) {
  TextureBlock texture;
  texture.kind = texture_kind(block);
  texture.ink.strength = bounded(block, "amount", 0.0) * scale_of(options, "print_texture");
  texture.ink.raster = bounded(block, "raster", texture.ink.raster);
  texture.ink.specks = bounded(block, "specks", texture.ink.specks);
  texture.fine_um = bounded(block, "fine_um", texture.fine_um);
  texture.fine_amp = bounded(block, "fine_amp", texture.fine_amp);
  texture.wide_um = bounded(block, "wide_um", texture.wide_um);
  texture.wide_amp = bounded(block, "wide_amp", texture.wide_amp);
  texture.cell_um = bounded(block, "cell_um", texture.cell_um);
  return texture;
}

RollerBlock read_roller(const Json& block, const Json& options) {
  RollerBlock roller;
  roller.ink.strength = chosen(options, "ink_roller", block, "roller", 0.0);
  roller.ink.raster = bounded(block, "raster", roller.ink.raster);
  roller.ink.specks = bounded(block, "specks", roller.ink.specks);
  roller.brush_mm = bounded(block, "brush_mm", roller.brush_mm);
  roller.fine_mm = bounded(block, "fine_mm", roller.fine_mm);
  roller.fine_amp = bounded(block, "fine_amp", roller.fine_amp);
  return roller;
}

TransferBlock read_transfer(const Json& block, const Json& options) {
  TransferBlock transfer;
  transfer.pickup = chosen(options, "pickup", block, "pickup", transfer.pickup);
  transfer.soften_mm = bounded(block, "soften_mm", transfer.soften_mm);
  return transfer;
}

// The option `coat` names a style, or says with a plain yes that there is a coat and with a plain
// no that there is none.
CoatStyle coat_style(const Json& block, const Json& option) {
  const bool plain_yes = !option.is_string() && truthy(option);
  const Json& chosen_style = option.is_null() || plain_yes ? get(block, "style") : option;
  const std::string name = truthy(chosen_style) ? as_text(chosen_style) : "";
  if (name.empty() || name == "none") return plain_yes ? CoatStyle::brush : CoatStyle::none;
  return name == "rod" ? CoatStyle::rod : CoatStyle::brush;
}

CoatBlock read_coat(const Json& process, const Json& options) {
  const Json& option = get(options, "coat");
  const Json& block = option.is_object() ? option : get_object(process, "coat");
  CoatBlock coat;
  coat.style = coat_style(block, option.is_object() ? Json() : option);
  coat.margin = bounded(block, "margin", coat.margin, 0.0, 0.5);
  coat.band = bounded(block, "band", coat.band, 0.0, 10.0);
  coat.rough =
      held(bounded(block, "rough", coat.rough) * scale_of(options, "coat_rough"), 0.0, 10.0);
  return coat;
}

PigmentBlock read_pigment(const Json& block) {
  constexpr double no_light = 30.0;  // a density beyond any other
  PigmentBlock pigment;
  pigment.opaque = get_text_or(block, "mode", "stain") == "ink";
  pigment.rgb = colour(block, "rgb", pigment.rgb, 1.0);
  pigment.opacity = bounded(block, "opacity", pigment.opacity);
  pigment.density = colour(block, "density", pigment.density, no_light);
  return pigment;
}

ReliefBlock read_relief(const Json& block, const Json& options) {
  const double scale = scale_of(options, "relief");
  ReliefBlock relief;
  relief.amount = bounded(block, "amount", 0.0) * scale;
  relief.sheen = held(bounded(block, "sheen", 0.0) * scale, 0.0, 1.0);
  relief.smooth_mm = bounded(block, "smooth_mm", relief.smooth_mm);
  relief.slope_floor = bounded(block, "slope_floor", relief.slope_floor, 1e-6);
  const Json& light = get(block, "light");
  if (light.is_array() && light.size() == 2)
    for (int k = 0; k < 2; ++k) relief.light[k] = held(as_number(light[k], "light"), -kMost, kMost);
  return relief;
}

std::array<float, 3> named_base(const std::string& name) {
  if (name == "cream") return {0.8642f, 0.7996f, 0.7132f};
  if (name == "buff") return {0.8465f, 0.7392f, 0.6048f};
  return {0.8909f, 0.875f, 0.8448f};
}

// `base_rgb` or `base` of one record.
std::optional<std::array<float, 3>> own_base(const Json& record) {
  if (three_numbers(get(record, "base_rgb"), "base_rgb"))
    return colour(record, "base_rgb", {}, 1.0);
  const std::string name = get_text_or(record, "base", "");
  if (name.empty()) return std::nullopt;
  return named_base(name);
}

}  // namespace

std::array<float, 3> paper_base_rgb(const Json& paper, const Json& options) {
  const Json& option = get(options, "paper_base");
  if (option.is_array()) {
    if (option.size() != 3) throw OptionsError("paper_base: ждали массив из 3");
    return colour(options, "paper_base", {}, 1.0);
  }
  if (truthy(option)) return named_base(as_text(option));
  if (const auto base = own_base(get_object(paper, "process"))) return *base;
  return own_base(paper).value_or(named_base("white_rag"));
}

double print_px_per_mm(const Json& options) {
  return 1000.0 / held(get_number(options, "print_px_um", 60.0), 1e-3, 1e9);
}

ProcessBlock read_process_block(const Json& paper, const Json& options) {
  const Json& process = get_object(paper, "process");
  ProcessBlock block;
  block.px_per_mm = print_px_per_mm(options);
  block.ink_floor = bounded(process, "ink_floor", 0.0, 0.0, 1.0);
  block.plug = bounded(process, "plug", 0.0);
  block.texture = read_texture(get_object(process, "texture"), options);
  block.roller = read_roller(get_object(process, "ink_roller"), options);
  block.transfer = read_transfer(get_object(process, "transfer"), options);
  block.coat = read_coat(process, options);
  block.pigment = read_pigment(get_object(process, "pigment"));
  block.relief = read_relief(get_object(process, "relief"), options);
  block.paper = paper_base_rgb(paper, options);
  if (!get(options, "_black_probe").is_null()) {
    block.texture.ink.strength = 0.0;
    block.roller.ink.strength = 0.0;
    block.coat.style = CoatStyle::none;
  }
  return block;
}

}  // namespace morva
