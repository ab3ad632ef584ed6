#include "film/plate_development.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "film/flow_noise.h"
#include "image/elementary.h"
#include "image/error_function.h"

namespace morva {

namespace {

constexpr double pi = std::numbers::pi;

// A place on the plate, millimetres from its top left corner.
struct Point {
  double x, y;
};

// The raster on the plate, with the density that can still grow.
struct PlateRaster {
  Image& density;
  const Image& edge;
  double px_mm;
  float dmin, range;

  // Share of the curve that is still empty: crystals grow where the image is thin.
  float thinness(float d) const { return std::clamp(1.0f - (d - dmin) / range, 0.0f, 1.0f); }
};

// Pixels of one axis from low_mm to high_mm along it.
struct Span {
  int first, end;
  int count() const { return end - first; }
};

Span touched(double low_mm, double high_mm, double px_mm, int n) {
  const auto most = static_cast<double>(n);
  return {static_cast<int>(std::clamp(low_mm / px_mm, 0.0, most)),
          static_cast<int>(std::clamp(high_mm / px_mm + 1.0, 0.0, most))};
}

// Silver that falls out of the running developer: a fog in streaks, grainy where it settles.
void lay_veil(PlateRaster& plate, double px_um, float veil, PlateCorner corner, Rng& rng) {
  constexpr double streak_mm = 6.0;
  constexpr double streak_anisotropy = 4.0;
  constexpr double deposit_um = 14.0;
  Image& density = plate.density;
  const Image run =
      flow_noise(density.h, density.w, px_um, {corner, streak_mm, streak_anisotropy}, rng);
  const Image deposit = fine_noise(density.h, density.w, px_um, deposit_um, rng);
  for (std::size_t i = 0; i < density.data.size(); ++i) {
    const float settled = std::max(run.data[i] + 1.0f + deposit.data[i] * 1.1f, 0.0f);
    density.data[i] += settled * veil * plate.edge.data[i];
  }
}

// Frost: single crystals of about 12 um, gathered in patches where the developer stood.
void grow_frost(PlateRaster& plate, double px_um, float amount, PlateCorner corner, Rng& rng) {
  constexpr double patch_mm = 11.0;
  constexpr double crystal_um = 12.0;
  constexpr float threshold = 1.15f;
  Image& density = plate.density;
  const Image patches = flow_noise(density.h, density.w, px_um, {corner, patch_mm, 1.3}, rng);
  const Image crystals = fine_noise(density.h, density.w, px_um, crystal_um, rng);
  const auto resolved = static_cast<float>(fine_noise_deviation(px_um, crystal_um));
  // What a pixel too large for single crystals sees of them is their mean.
  const double t = static_cast<double>(threshold);
  const double mean = elementary::exp(-0.5 * t * t) / std::sqrt(2.0 * pi) -
                      t * 0.5 * elementary::erfc(t / std::sqrt(2.0));
  const float unresolved = (1.0f - resolved) * static_cast<float>(mean);
  for (std::size_t i = 0; i < density.data.size(); ++i) {
    float& d = density.data[i];
    const float gathered = std::clamp(0.5f + 0.7f * patches.data[i], 0.0f, 2.0f);
    const float crystal = std::max(crystals.data[i] - threshold * resolved, 0.0f) + unresolved;
    const float thin = plate.thinness(d);
    d += amount * crystal * gathered * thin * thin * plate.edge.data[i];
  }
}

struct Needle {
  Point from, to;
};

// Up to six arms at 60 degrees, each with side needles at 60 degrees that shorten towards its tip,
// as silver crystallises.
std::vector<Needle> dendrite(double size_mm, double turn, const std::vector<double>& lengths) {
  std::vector<Needle> needles;
  for (std::size_t arm = 0; arm < lengths.size(); ++arm) {
    const double angle = turn + static_cast<double>(arm) * pi / 3.0;
    const double length = size_mm * lengths[arm];
    if (length <= 0.0) continue;
    const Point along = {elementary::cos(angle), elementary::sin(angle)};
    needles.push_back({{0.0, 0.0}, {along.x * length, along.y * length}});
    for (const double place : {0.3, 0.5, 0.7}) {
      const Point root = {along.x * length * place, along.y * length * place};
      const double side = 0.45 * length * (1.0 - place);
      for (const double fork : {-pi / 3.0, pi / 3.0})
        needles.push_back({root,
                           {root.x + side * elementary::cos(angle + fork),
                            root.y + side * elementary::sin(angle + fork)}});
    }
  }
  return needles;
}

double distance_to(const Needle& needle, double x, double y) {
  const double dx = needle.to.x - needle.from.x;
  const double dy = needle.to.y - needle.from.y;
  const double squared = std::max(dx * dx + dy * dy, 1e-12);
  const double t =
      std::clamp(((x - needle.from.x) * dx + (y - needle.from.y) * dy) / squared, 0.0, 1.0);
  const double ox = x - needle.from.x - t * dx;
  const double oy = y - needle.from.y - t * dy;
  return std::sqrt(ox * ox + oy * oy);
}

// A window of the plate in which one dendrite is drawn, and the silver of it there, 0 .. 1.
struct Patch {
  Span rows, columns;
  Image silver;
};

// `half_mm`: half the width of the needle, which fades out over as much again.
void draw_needle(Patch& patch, const Needle& needle, const Point& at, double half_mm,
                 const PlateRaster& plate) {
  const auto [left, right] = std::minmax(needle.from.x, needle.to.x);
  const auto [top, bottom] = std::minmax(needle.from.y, needle.to.y);
  const double margin = 1.5 * half_mm;
  const Span rows =
      touched(at.y + top - margin, at.y + bottom + margin, plate.px_mm, plate.density.h);
  const Span columns =
      touched(at.x + left - margin, at.x + right + margin, plate.px_mm, plate.density.w);
  for (int y = rows.first; y < rows.end; ++y)
    for (int x = columns.first; x < columns.end; ++x) {
      const double off =
          distance_to(needle, (x + 0.5) * plate.px_mm - at.x, (y + 0.5) * plate.px_mm - at.y);
      float& silver = patch.silver.at(y - patch.rows.first, x - patch.columns.first);
      silver = std::max(silver, static_cast<float>(std::clamp(1.5 - off / half_mm, 0.0, 1.0)));
    }
}

// Needles thinner than a pixel are drawn a pixel wide and fainter.
void draw_dendrite(PlateRaster& plate, const Point& at, double size_mm,
                   const std::vector<Needle>& needles, float amount) {
  constexpr double needle_mm = 0.018;
  const double half_mm = std::max(needle_mm, 0.45 * plate.px_mm);
  const float shown = amount * static_cast<float>(needle_mm / half_mm);
  const double reach_mm = size_mm + 1.5 * half_mm;
  Patch patch = {touched(at.y - reach_mm, at.y + reach_mm, plate.px_mm, plate.density.h),
                 touched(at.x - reach_mm, at.x + reach_mm, plate.px_mm, plate.density.w),
                 {}};
  if (patch.rows.count() < 1 || patch.columns.count() < 1) return;
  patch.silver = Image(patch.rows.count(), patch.columns.count(), 1);
  for (const Needle& needle : needles) draw_needle(patch, needle, at, half_mm, plate);
  for (int y = patch.rows.first; y < patch.rows.end; ++y)
    for (int x = patch.columns.first; x < patch.columns.end; ++x) {
      float& d = plate.density.at(y, x);
      d += shown * patch.silver.at(y - patch.rows.first, x - patch.columns.first) *
           plate.thinness(d) * plate.edge.at(y, x);
    }
}

// Dendrites start at random, about one on each square centimetre, and grow with the time in the
// developer.
void grow_dendrites(PlateRaster& plate, double crystal, float amount, Rng& rng) {
  constexpr int most = 240;
  constexpr double per_cm2 = 0.9;
  constexpr std::size_t arms = 6;
  const double height_mm = plate.density.h * plate.px_mm;
  const double width_mm = plate.density.w * plate.px_mm;
  const double count = per_cm2 * height_mm * width_mm / 100.0 * crystal;
  const double grown = std::sqrt(std::min(crystal, 4.0));
  std::vector<double> lengths(arms);
  for (int i = 0; i < most; ++i) {
    const Point at = {rng.uniform() * width_mm, rng.uniform() * height_mm};
    const double age = rng.uniform();
    const double turn = rng.uniform() * pi / 3.0;
    for (double& length : lengths) {
      const double grown_out = rng.uniform(-0.5, 1.0);  // some arms never start
      length = std::max(grown_out, 0.0);
    }
    if (i + 0.5 >= count) continue;
    const double size_mm = grown * (0.1 + 0.6 * age * age * age);
    draw_dendrite(plate, at, size_mm, dendrite(size_mm, turn, lengths), amount);
  }
}

}  // namespace

Image develop_plate_post(Image density, const PlateParams& plate, const HdCurve& curve,
                         double px_um, PlateFields& fields) {
  if (plate.kind != PlateKind::wet || fields.edge.data.empty()) return density;
  PlateRaster raster = {density, fields.edge, std::max(px_um, 1e-6) / 1000.0,
                        static_cast<float>(curve.dmin),
                        static_cast<float>(std::max(curve.dmax - curve.dmin, 1e-6))};
  if (const double veil = plate.veil * plate.pour; veil > 0.0)
    lay_veil(raster, px_um, static_cast<float>(veil), fields.corner, fields.rng);
  if (const double crystal = plate.crystal * plate.pour * plate.push; crystal > 0.001) {
    grow_frost(raster, px_um, static_cast<float>(0.55 * crystal), fields.corner, fields.rng);
    grow_dendrites(raster, crystal, static_cast<float>(std::min(0.35 + 0.35 * crystal, 1.5)),
                   fields.rng);
  }
  return density;
}

void bare_uncoated(Image& density, const Image& edge, double dmin) {
  const auto base = static_cast<float>(dmin);
  for (std::size_t i = 0; i < edge.data.size(); ++i) {
    const float e = edge.data[i];
    density.data[i] = (1.0f - e) * base + e * density.data[i];
  }
}

}  // namespace morva
