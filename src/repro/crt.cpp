// Light is what the print sends back: a studio's camera makes a signal of it, the tube draws that
// with its beam through a mask on to phosphors under glass, and another camera in a dark room takes
// the screen.
#include "repro/crt.h"

#include <utility>

#include "image/held.h"
#include "repro/beam_spot.h"
#include "repro/phosphor_mask.h"
#include "repro/tube_glass.h"
#include "repro/tube_light.h"
#include "repro/tube_view.h"
#include "repro/video_signal.h"

namespace morva {

namespace {

constexpr double kLeastPixelUm = 1e-3;
constexpr double kMostPixelUm = 1e9;

struct Tube {
  double overscan = 0.0;
  VideoBand band;
  double lines = 1.0;  // in the picture
  double spot = 0.45;  // of a line
  double miss_px = 0.0;
  ScreenShade shade;
  PhosphorMask mask;
  bool has_mask = false;    // the tube
  bool mask_shows = false;  // in these pixels
  DampingWires wires;
  double bloom = 0.0, bloom_px = 0.0;
  GlassBulge glass;
  double camera_px = 0.0;
  ScreenColour colour;
  bool beam_alone = false;
};

void place_mask(Tube& tube, Rng& rng) {
  if (!tube.has_mask) return;
  tube.mask.phase_across = rng.uniform();
  tube.mask.phase_down = rng.uniform();
}

void read_phosphor(ScreenColour& colour, const Json& block, const Json& options) {
  const std::string name = get_text_or(options, "crt_phosphor", get_text_or(block, "phosphor", ""));
  if (!name.empty()) colour.tint = phosphor_tint(name);
}

Tube read_tube(const Json& paper, const Json& options, double px_um, const RasterPlan& plan) {
  const Json& block = get_object(paper, "crt");
  const auto number = [&](const char* key, double fallback) {
    return held_finite(get_number(block, key, fallback));
  };
  const double px_per_mm = 1000.0 / held(px_um, kLeastPixelUm, kMostPixelUm);
  const TubeView view = plan_tube_view(paper, options);
  Tube tube;
  tube.overscan = number("overscan", 0.0);
  tube.band = {number("luma_lines", 400.0), number("chroma_lines", 80.0)};
  tube.lines = view.lines_seen;
  tube.spot = number("spot", 0.45);
  tube.has_mask = view.has_mask();
  // Told for the screen's corner; where a part of it fills the picture, the picture's corner lies
  // as much nearer to the middle, and the error with it.
  if (tube.has_mask) tube.miss_px = number("converge_mm", 0.0) * px_per_mm / view.zoom;
  tube.shade = {view.zoom, number("vignette", 0.0), number("corner_r", 0.0)};
  tube.mask.stripes = view.mask == "mask";
  tube.mask.period_px = plan.period_px;
  tube.mask.fill = number("dot", tube.mask.stripes ? 0.85 : 0.8);
  tube.mask.depth = number("depth", 0.5);
  tube.mask_shows = tube.has_mask && plan.resolved;
  tube.wires = {view.zoom, number("wires", 0.0), number("wire_mm", 0.12) / 2.0 * px_per_mm,
                number("wire_depth", 0.55)};
  tube.bloom = number("bloom", 0.0);
  tube.bloom_px = number("bloom_mm", 1.5) * px_per_mm;
  tube.glass = {number("bulge", 0.0), get_text_or(block, "curve", "sphere") == "sphere"};
  tube.camera_px = number("camera_psf_um", 60.0) / 1000.0 * px_per_mm;
  tube.colour = {number("white_k", 6500.0), number("adapt", 0.5), std::nullopt};
  read_phosphor(tube.colour, block, options);
  tube.beam_alone = !get(options, "_black_probe").is_null();
  return tube;
}

Image spread_to_three(Image picture) {
  if (picture.c == 3) return picture;
  Image three(picture.h, picture.w, 3);
  for (int k = 0; k < 3; ++k) store_channel(three, k, picture);
  return three;
}

Image drawn_by_beam(Image picture, const Tube& tube) {
  const ScanRaster raster = {tube.lines, picture.h};
  limit_bandwidth(picture, tube.band);
  return draw_lines(scan_lines(std::move(picture), raster), raster, tube.spot);
}

}  // namespace

Image show_on_tube(Image picture, const Json& paper, const Json& options, double px_um,
                   const RasterPlan& plan, Rng& rng, RenderContext& ctx) {
  Tube tube = read_tube(paper, options, px_um, plan);
  place_mask(tube, rng);
  picture = cut_overscan(spread_to_three(std::move(picture)), tube.overscan);
  check_cancel(ctx);
  picture = drawn_by_beam(std::move(picture), tube);
  if (tube.beam_alone) return picture;
  check_cancel(ctx);
  misconverge(picture, tube.miss_px);
  shade_screen(picture, tube.shade);
  if (tube.mask_shows) light_phosphors(picture, tube.mask);
  cast_wires(picture, tube.wires);
  check_cancel(ctx);
  picture = glow(std::move(picture), tube.bloom, tube.bloom_px);
  picture = bulge_glass(std::move(picture), tube.glass);
  picture = photograph(std::move(picture), tube.camera_px);
  check_cancel(ctx);
  show_light(picture, tube.colour);
  return picture;
}

}  // namespace morva
