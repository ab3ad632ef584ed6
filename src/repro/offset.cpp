// Four plates are made from the picture, each with its own screen, and run one after another
// through a press that never lays them quite on top of each other. Black carries the drawing and is
// what the others are laid to: it stands still.
#include "repro/offset.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "image/held.h"
#include "repro/dot_gain.h"
#include "repro/halftone_screen.h"
#include "repro/ink_mottle.h"
#include "repro/inks.h"
#include "repro/print_run.h"
#include "repro/separation.h"

namespace morva {

namespace {

constexpr double kMostMisregisterMm = 1e6;
constexpr double kMostMottle = 100.0;

// Scales of the unevenness of ink on a press sheet: the fibres, and the felt that the paper was
// made on.
constexpr double kFibreUm = 90.0;
constexpr double kFeltUm = 1500.0;
constexpr double kFeltWeight = 0.8;

struct OffsetPress {
  std::array<float, 3> base = {};
  SeparationPlan plan;
  double misregister_mm = 0.0;  // deviation of a plate's place
  double psf_um = 0.0;
  double mottle = 0.0;
};

OffsetPress read_press(const Json& paper) {
  const Json& block = get_object(paper, "offset");
  OffsetPress machine;
  machine.base = printing_paper(get_text(block, "base", "coated"));
  machine.plan.inks = ink_set(get_text(block, "inks", "offset_coated"));
  machine.plan.gain.gain = held_finite(get_number(block, "dot_gain", 0.16));
  machine.plan.gain.compensation = held_finite(get_number(block, "gain_comp", 0.85));
  machine.plan.tac = held_finite(get_number(block, "tac", 0.0));
  machine.plan.gcr = held_finite(get_number(block, "gcr", 0.75));
  machine.misregister_mm = held(get_number(block, "misregister_mm", 0.05), 0.0, kMostMisregisterMm);
  machine.psf_um = held(get_number(block, "psf_um", 20.0), 0.0, 1e9);
  machine.mottle = held(get_number(block, "mottle", 0.0), 0.0, kMostMottle);
  return machine;
}

// The raster that the press is drawn on.
struct PressRaster {
  int h = 0, w = 0;
  double px_um = 0.0;
  RasterPlan screen;
};

PressRaster press_raster(const Image& picture, double px_um, const RasterScale& scale) {
  return {enlarged_side(picture.h, scale), enlarged_side(picture.w, scale),
          enlarged_px_um(px_um, scale), enlarged_plan(scale, px_um)};
}

HalftoneScreen place_screen(Ink ink, double period_px, Rng& rng) {
  HalftoneScreen screen;
  screen.period_px = period_px;
  screen.angle_deg = kScreenAngleDeg[ink];
  screen.along = rng.uniform();
  screen.across = rng.uniform();
  return screen;
}

// A normal deviate of `deviation_px`, to the nearest pixel of a roll of `side`.
int draw_shift(double deviation_px, int side, Rng& rng) {
  return static_cast<int>(std::fmod(std::nearbyint(rng.normal() * deviation_px), side));
}

// The run with the place of each plate and its screen, in the order they are drawn.
PrintRun plan_run(const OffsetPress& machine, const PressRaster& raster, bool black_alone,
                  Rng& rng) {
  const double deviation_px = machine.misregister_mm * 1000.0 / raster.px_um;
  std::vector<HalftoneScreen> screens;
  PrintRun run;
  run.base = machine.base;
  for (const Ink ink : {kCyan, kMagenta, kYellow, kBlack}) {
    if (black_alone && ink != kBlack) continue;
    Plate plate;
    plate.ink = machine.plan.inks[ink];
    if (raster.screen.resolved) screens.push_back(place_screen(ink, raster.screen.period_px, rng));
    if (ink != kBlack && deviation_px >= 0.5) {
      plate.shift_x = draw_shift(deviation_px, raster.w, rng);
      plate.shift_y = draw_shift(deviation_px, raster.h, rng);
    }
    run.plates.push_back(plate);
  }
  run.lay_down = [gain = machine.plan.gain, screens = std::move(screens)](PlateRows& rows) {
    Image& c = rows.coverage;
    press(c.data.data(), c.data.size(), gain);
    if (!screens.empty())
      screen_rows(c.data.data(), rows.y, c.h, c.w, screens[static_cast<std::size_t>(rows.plate)]);
  };
  return run;
}

}  // namespace

Image print_offset(Image picture, const Json& paper, double px_um, const RasterScale& scale,
                   Rng& rng, RenderContext& ctx) {
  const OffsetPress machine = read_press(paper);
  const PressRaster raster = press_raster(picture, px_um, scale);
  const bool black_alone = picture.c == 1;
  PrintRun run = plan_run(machine, raster, black_alone, rng);
  run.separate = [&plan = machine.plan, black_alone](const float* light, std::size_t n,
                                                     float* const* planes) {
    if (black_alone)
      separate_mono(light, n, plan, planes[0]);
    else
      separate(light, n, plan, planes);
  };
  const double long_side_px = std::max(raster.h, raster.w);
  run.psf_sigma_px = std::min(machine.psf_um / raster.px_um, long_side_px);
  run.mottle = machine.mottle;
  if (machine.mottle > 0.0)
    run.mottle_field =
        mottle_field(raster.h, raster.w, raster.px_um, kFibreUm, kFeltUm, kFeltWeight, rng);
  return print_run(std::move(picture), scale, run, ctx);
}

}  // namespace morva
