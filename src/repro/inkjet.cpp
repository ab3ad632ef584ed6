// A printer knows no tones, only drops. The plates of four inks are thrown as drops where a mask of
// blue noise lets them; the head runs along the sheet in passes that differ a little and meet in
// seams; each ink's head hangs a fraction of a drop beside the others, and the sheet drinks the ink
// and spreads it. Where pixels are coarser than drops the tone is what is seen.
#include "repro/inkjet.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "image/filters.h"
#include "image/held.h"
#include "repro/dot_gain.h"
#include "repro/drop_dither.h"
#include "repro/head_banding.h"
#include "repro/ink_mottle.h"
#include "repro/inks.h"
#include "repro/print_run.h"
#include "repro/separation.h"

namespace morva {

namespace {

constexpr double kDropEdge = 0.15;         // sigma of a drop's soft edge, in drops
constexpr double kLeastSoftPitchPx = 2.0;  // a smaller drop has no edge to show
constexpr double kSoftestEdgePx = 40.0;    // a softer one needs rows of the whole sheet
constexpr double kSeamDrops = 0.6;         // sigma of a seam, in drops
constexpr double kLongestPx = 1e6;         // of what passes a picture's side anyhow
constexpr double kMostMottle = 100.0;
constexpr double kMottleFineUm = 60.0;
constexpr double kMottleCoarseUm = 900.0;
constexpr double kMottleCoarseWeight = 0.6;

// Pixels are those of the enlarged raster.
struct Inkjet {
  std::array<float, 3> base = {};
  SeparationPlan separation;
  bool across = false;  // the head's passes lie side by side, not one under another
  HeadBanding head;
  bool dither = true;
  double pitch_px = 1.0;  // of drops
  int misalign_px = 0;    // most that a head hangs beside black's, either way
  double psf_sigma_px = 0.0;
  double mottle = 0.0;
};

HeadBanding read_head(const Json& block, const Json& options, double drop_px, double px_um) {
  const double strength = std::max(get_number(options, "inkjet_banding", 1.0), 0.0);
  const double seam_amp = get_number(block, "seam_amp", 0.08);
  const double ripple = get_number(block, "ripple", 0.006);
  HeadBanding head;
  head.pass_px = get_number(block, "swath_mm", 6.0) * 1000.0 / px_um;
  head.pass_deviation = get_number(block, "pass_var", 0.015) * strength;
  head.seams = seam_amp > 0.0;
  head.seam_amp = seam_amp * strength;
  head.seam_px = held(drop_px, 1.0, kLongestPx) * kSeamDrops;
  head.ripple = ripple > 0.0;
  head.ripple_amp = ripple * strength;
  head.nozzle_px = get_number(block, "nozzle_mm", 0.35) * 1000.0 / px_um;
  return head;
}

Inkjet read_inkjet(const Json& paper, const Json& options, double px_um, const RasterPlan& plan) {
  const Json& block = get_object(paper, "inkjet");
  const double drop_um = get_number(block, "drop_um", 45.0);
  Inkjet jet;
  jet.base = printing_paper(get_text(block, "base", "office"));
  jet.separation.inks = ink_set(get_text(block, "inks", "inkjet_office"));
  jet.separation.gcr = held_finite(get_number(block, "gcr", 0.7));
  jet.separation.gain.gain = held_finite(get_number(block, "gain", 0.25));
  jet.separation.gain.compensation = held_finite(get_number(block, "gain_comp", 0.85));
  jet.across = get_text(options, "inkjet_feed", "long") != "long";
  jet.head = read_head(block, options, drop_um / px_um, px_um);
  jet.dither = get_bool(block, "dither", true) && plan.resolved;
  jet.pitch_px = plan.period_px;
  const double misalign_px = get_number(block, "misalign_drops", 1.0) * drop_um / px_um;
  jet.misalign_px = static_cast<int>(held(std::nearbyint(misalign_px), 0.0, kLongestPx));
  jet.psf_sigma_px = get_number(block, "psf_um", 60.0) / px_um;
  jet.mottle = held(get_number(block, "mottle", 0.04), 0.0, kMostMottle);
  return jet;
}

// 0 where drops have no edge.
double drop_edge_px(const Inkjet& jet) {
  if (!jet.dither || !(jet.pitch_px >= kLeastSoftPitchPx)) return 0.0;
  return std::min(kDropEdge * jet.pitch_px, kSoftestEdgePx);
}

int shift_within(int most, Rng& rng) {
  return static_cast<int>(rng.next() % static_cast<std::uint64_t>(2 * most + 1)) - most;
}

// Ink that the passes of the head throw, from what is asked for.
void throw_in_passes(const Inkjet& jet, const std::vector<float>& banding, PlateRows& rows) {
  const std::size_t w = static_cast<std::size_t>(rows.coverage.w);
  for (int i = 0; i < rows.coverage.h; ++i) {
    float* row = rows.coverage.data.data() + static_cast<std::size_t>(i) * w;
    if (jet.across) {
      for (std::size_t x = 0; x < w; ++x) row[x] = std::clamp(banding[x] * row[x], 0.0f, 1.0f);
    } else {
      const float pass = banding[static_cast<std::size_t>(rows.y + i)];
      for (std::size_t x = 0; x < w; ++x) row[x] = std::clamp(pass * row[x], 0.0f, 1.0f);
    }
    press(row, w, jet.separation.gain);
  }
}

// A gray picture prints from four inks like any other.
void separate_gray(const float* gray, std::size_t n, const SeparationPlan& plan,
                   float* const* planes) {
  constexpr std::size_t block = 1024;
  std::array<float, 3 * block> rgb;
  for (std::size_t first = 0; first < n; first += block) {
    const std::size_t count = std::min(block, n - first);
    for (std::size_t i = 0; i < count; ++i)
      for (std::size_t k = 0; k < 3; ++k) rgb[3 * i + k] = gray[first + i];
    float* const part[kInks] = {planes[kCyan] + first, planes[kMagenta] + first,
                                planes[kYellow] + first, planes[kBlack] + first};
    separate(rgb.data(), count, plan, part);
  }
}

}  // namespace

Image print_inkjet(Image picture, const Json& paper, const Json& options, double px_um,
                   const RasterScale& scale, Rng& rng, RenderContext& ctx) {
  const int h = enlarged_side(picture.h, scale);
  const int w = enlarged_side(picture.w, scale);
  const double drawn_px_um = enlarged_px_um(px_um, scale);
  const Inkjet jet = read_inkjet(paper, options, drawn_px_um, enlarged_plan(scale, px_um));
  const std::vector<float> banding = banding_line(jet.across ? w : h, jet.head, rng);

  PrintRun run;
  run.base = jet.base;
  std::vector<ThresholdMap> maps;
  for (int ink = 0; ink < kInks; ++ink) {
    Plate plate;
    plate.ink = jet.separation.inks[static_cast<std::size_t>(ink)];
    if (jet.dither) maps.push_back(threshold_map(h, w, jet.pitch_px, rng));
    if (ink != kBlack && jet.misalign_px >= 1) {
      plate.shift_x = shift_within(jet.misalign_px, rng) % w;
      plate.shift_y = shift_within(jet.misalign_px, rng) % h;
    }
    run.plates.push_back(plate);
  }
  const bool gray = picture.c == 1;
  run.separate = [&](const float* pixels, std::size_t n, float* const* planes) {
    if (gray)
      separate_gray(pixels, n, jet.separation, planes);
    else
      separate(pixels, n, jet.separation, planes);
  };
  const double edge_px = drop_edge_px(jet);
  run.lay_down = [&](PlateRows& rows) {
    throw_in_passes(jet, banding, rows);
    if (!jet.dither) return;
    throw_drops(maps[static_cast<std::size_t>(rows.plate)], rows.y, rows.coverage);
    if (edge_px > 0.0) rows.coverage = gaussian_filter(rows.coverage, edge_px, kBoundaryNearest);
  };
  run.reach = edge_px > 0.0 ? static_cast<int>(gaussian_radius(edge_px)) : 0;
  run.psf_sigma_px = jet.psf_sigma_px;
  run.mottle = jet.mottle;
  if (jet.mottle > 0.0)
    run.mottle_field =
        mottle_field(h, w, drawn_px_um, kMottleFineUm, kMottleCoarseUm, kMottleCoarseWeight, rng);
  return print_run(std::move(picture), scale, run, ctx);
}

}  // namespace morva
