// What a paper's `process` tells of a print made by hand, with the options that override or scale
// it: an ink, a pigment or a stain that is laid on plain paper in place of a silver image. Every
// number is read and bounded here, once; the stages see these records only.
#pragma once

#include <array>

#include "profiles/json_access.h"

namespace morva {

// How a field of unit deviation shows in an ink layer.
struct InkField {
  double strength = 0.0;  // 0: no field
  double raster = 0.22;   // change of the ink a deviation, in the mid tones
  double specks = 0.16;   // ink that strikes in the lights, as a share of that

  double change() const { return strength * raster; }
};

enum class TextureKind { grain, cells, fibre, wood };

struct TextureBlock {
  TextureKind kind = TextureKind::grain;
  InkField ink;
  double fine_um = 45.0;
  double fine_amp = 0.6;  // share of the fine field beside cells
  double wide_um = 900.0;
  double wide_amp = 0.55;
  double cell_um = 125.0;
};

struct RollerBlock {
  InkField ink;
  double brush_mm = 22.0;  // coarse layer that the roller drags
  double fine_mm = 0.55;
  double fine_amp = 0.85;
};

struct TransferBlock {
  double pickup = 1.0;  // share of a thin layer that goes over
  double soften_mm = 0.0;
};

enum class CoatStyle { none, brush, rod };

struct CoatBlock {
  CoatStyle style = CoatStyle::none;
  double margin = 0.045;  // bare paper on each side, fraction of the long side
  double band = 0.82;     // share of the brush's outer bristles that lay less than it holds
  double rough = 1.0;
};

struct PigmentBlock {
  bool opaque = false;  // an ink that covers the paper; else a stain that light passes twice
  std::array<float, 3> rgb = {0.02f, 0.02f, 0.02f};  // the opaque ink
  double opacity = 1.0;
  std::array<float, 3> density = {1.6f, 1.6f, 1.6f};  // the stain at full strength
};

struct ReliefBlock {
  double amount = 0.0;  // of light and shade on the slopes
  double sheen = 0.0;   // light thrown back by a glossy layer
  double smooth_mm = 0.15;
  std::array<double, 2> light = {-0.72, -0.7};
  double slope_floor = 0.012;  // least slope, ink a pixel, that counts as steep
};

struct ProcessBlock {
  double px_per_mm = 0.0;  // of the print
  double ink_floor = 0.0;  // ink below this share does not print
  double plug = 0.0;       // shadows that fill in
  TextureBlock texture;
  RollerBlock roller;
  TransferBlock transfer;
  CoatBlock coat;
  PigmentBlock pigment;
  ReliefBlock relief;
  std::array<float, 3> paper = {1.0f, 1.0f, 1.0f};  // the sheet, linear RGB
};

// `process` or a block of it that is no object counts as empty; an option `coat` that is an object
// stands for the block. The option `_black_probe` asks for the colour of full ink: there is then no
// texture, roller or coat. Throws OptionsError for a value that should be a number and is none, and
// as paper_base_rgb does.
ProcessBlock read_process_block(const Json& paper, const Json& options);

// Colour of the bare sheet, linear RGB: the option `paper_base`, a name or an array of three, else
// `base_rgb` or the name `base` of the process or of the paper, else white rag, which also stands
// for an unknown name. Throws OptionsError for an option array that is not of three numbers.
std::array<float, 3> paper_base_rgb(const Json& paper, const Json& options);

// Pixels a millimetre of the print, from the option `print_px_um`.
double print_px_per_mm(const Json& options);

}  // namespace morva
