#include "print/sheet_field.h"

#include <cmath>

#include "image/filters.h"
#include "image/held.h"
#include "image/resample.h"
#include "print/smooth_field.h"

namespace morva {

namespace {

// Its own mean is taken off, so that a field which is all but flat says nothing.
void normalise(Image& field) {
  take_off_mean(field);
  scale_to_unit_deviation(field);
}

// The cells of a field of unit variance, their correlation in millimetres.
Image draw_cells(Rng& rng, const PulledSheet& sheet, double along_mm, double across_mm) {
  constexpr double cells_per_sigma = 3.0;
  constexpr double most_cells = 2048.0;
  const auto cells = [](double side_mm, double sigma_mm) {
    return held(std::nearbyint(side_mm / sigma_mm * cells_per_sigma), 8.0, most_cells);
  };
  const double along = cells(sheet.long_mm, along_mm), across = cells(sheet.short_mm, across_mm);
  const double sigma_along = along * along_mm / sheet.long_mm;
  const double sigma_across = across * across_mm / sheet.short_mm;
  const int long_cells = static_cast<int>(along), short_cells = static_cast<int>(across);
  Image field = sheet.pulled_down
                    ? spread_noise(rng, short_cells, long_cells, sigma_across, sigma_along)
                    : spread_noise(rng, long_cells, short_cells, sigma_along, sigma_across);
  normalise(field);
  return field;
}

}  // namespace

PulledSheet pulled_sheet(const Image& picture, double px_um, const PeelSize* size) {
  PulledSheet sheet;
  sheet.h = picture.h;
  sheet.w = picture.w;
  sheet.mm_per_px = held(px_um / 1000.0, 1e-6, 1e6);
  sheet.pulled_down = picture.h >= picture.w;
  const double long_mm = size != nullptr ? size->image_long_mm : 0.0;
  const double short_mm = size != nullptr ? size->image_short_mm : 0.0;
  sheet.long_mm = std::max(1.0, counted_mm(sheet.long_px(), sheet.mm_per_px, long_mm));
  sheet.short_mm = std::max(1.0, counted_mm(sheet.short_px(), sheet.mm_per_px, short_mm));
  return sheet;
}

SheetField::SheetField(Rng& rng, const PulledSheet& sheet, double along_mm, double across_mm)
    : cells_(draw_cells(rng, sheet, along_mm, across_mm)),
      rows_(cells_, sheet.w, sheet.h, kResizeTriangle),
      row_(static_cast<std::size_t>(sheet.w)) {}

const float* SheetField::row(int y) {
  rows_.make_rows(static_cast<std::size_t>(y), 1, row_.data(), row_.size());
  return row_.data();
}

Image unit_noise(Rng& rng, int h, int w, double sigma_px) {
  Image field(h, w, 1);
  rng.fill_normals(field.data.data(), field.data.size());
  field = blur_plane(field, sigma_px);
  normalise(field);
  return field;
}

DensityRange density_range(const Json& block) {
  double low = 0.1, high = 1.7;
  if (const Json& ends = get(block, "d_range"); ends.is_array() && ends.size() == 2) {
    low = as_number(ends[0], "d_range");
    high = as_number(ends[1], "d_range");
  }
  low = held(low, -kStrongestMark, kStrongestMark);
  const double range = held(high - low, 0.01, kStrongestMark);
  return {static_cast<float>(low), static_cast<float>(1.0 / range)};
}

float mean_density(const float* d, int channels) {
  return channels == 3 ? (d[0] + d[1] + d[2]) * (1.0f / 3.0f) : d[0];
}

double length_mm(const Json& block, const char* key, double fallback) {
  return held(get_number(block, key, fallback), 0.01, 1000.0);
}

double share_of(const Json& block, const char* key, double fallback) {
  return held(get_number(block, key, fallback), 0.0, 1.0);
}

double gain_of(const Json& block, const char* key, double fallback) {
  return held(get_number(block, key, fallback), -kStrongestMark, kStrongestMark);
}

}  // namespace morva
