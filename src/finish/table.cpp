#include "finish/table.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "finish/cast_shadow.h"
#include "finish/linen.h"
#include "finish/sheet_scale.h"
#include "finish/table_surface.h"
#include "image/growing_image.h"

namespace morva {

namespace {

constexpr std::int32_t kBandRows = 64;  // made at a time, so that they stay in the cache

struct TableTop {
  const char* name;
  std::array<float, 3> colour;  // linear light
  double grain;                 // of the mottle
  double clouds;
};

constexpr TableTop kTableTops[] = {{"white", {0.8f, 0.79f, 0.77f}, 0.006, 0.004},
                                   {"grey", {0.28f, 0.275f, 0.265f}, 0.012, 0.007},
                                   {"black", {0.025f, 0.024f, 0.023f}, 0.04, 0.02},
                                   {"linen", {0.624f, 0.591f, 0.539f}, 0.0, 0.0}};

const TableTop* table_top(const Json& opts) {
  const auto name = get_optional_text(opts, "table");
  if (!name || name->empty() || *name == "none") return nullptr;
  const std::string known = *name == "walnut" ? "grey" : *name;
  for (const TableTop& top : kTableTops)
    if (known == top.name) return &top;
  throw std::invalid_argument("Стола «" + *name + "» нет. Есть: none, white, grey, black, linen");
}

using Surface = std::variant<Linen, Mottle>;

Surface draw_surface(const TableTop& top, std::int32_t h, std::int32_t w, double px_per_mm,
                     Rng& rng) {
  if (std::string_view(top.name) == "linen") return weave_linen(h, w, px_per_mm, rng);
  return draw_mottle(h, w, px_per_mm, top.grain, top.clouds, rng);
}

void shade_surface(const Surface& surface, const SurfacePart& part, float* shade) {
  if (const Linen* linen = std::get_if<Linen>(&surface))
    shade_linen(*linen, part, shade);
  else
    shade_mottle(std::get<Mottle>(surface), part, shade);
}

// A part of the table top, in shadow and in colour; the part's rows in `out` are `stride` apart.
void paint_table(const Surface& surface, const CastShadow& shadow, const TableTop& top,
                 const SurfacePart& part, float* out, std::size_t stride) {
  const std::size_t columns = part.columns();
  if (columns == 0 || part.y1 <= part.y0) return;
  std::vector<float> shade(columns * static_cast<std::size_t>(part.y1 - part.y0));
  shade_surface(surface, part, shade.data());
  std::vector<float> light(columns);
  const float* in = shade.data();
  for (std::int32_t y = part.y0; y < part.y1; ++y, in += columns, out += stride) {
    shadow.light_left(y, part.x0, part.x1, light.data());
    for (std::size_t i = 0; i < columns; ++i) {
      const float lit = in[i] * light[i];
      for (std::size_t k = 0; k < 3; ++k)
        out[i * 3 + k] = std::min(std::max(0.0f, top.colour[k] * lit), 1.0f);
    }
  }
}

void lay_sheet_row(const Image& sheet, const Image* silhouette, std::int32_t y, float* out) {
  const std::size_t columns = static_cast<std::size_t>(sheet.w);
  const std::size_t first = static_cast<std::size_t>(y) * columns;
  const float* in = &sheet.data[first * 3];
  if (silhouette == nullptr) {
    std::copy_n(in, columns * 3, out);
    return;
  }
  for (std::size_t i = 0; i < columns; ++i) {
    const float share = sheet_cover(silhouette->data[first + i]);
    for (std::size_t k = i * 3; k < i * 3 + 3; ++k)
      out[k] = share * in[k] + (1.0f - share) * out[k];
  }
}

}  // namespace

std::int32_t table_margin_px(const Json& opts) {
  if (table_top(opts) == nullptr) return 0;
  const double width_px = get_number(opts, "table_width_cm", 3.0) * 10.0 * sheet_px_per_mm(opts);
  return std::max(0, sheet_pixels(width_px));
}

Image apply_table(Image sheet, const Json& opts, double edge_mm, Rng& rng,
                  const Image* silhouette) {
  const std::int32_t t = table_margin_px(opts);
  if (t == 0) return sheet;
  const TableTop& top = *table_top(opts);
  require_sheet_size(std::int64_t{sheet.h} + 2 * std::int64_t{t},
                     std::int64_t{sheet.w} + 2 * std::int64_t{t});
  const std::int32_t h = sheet.h + 2 * t;
  const std::int32_t w = sheet.w + 2 * t;
  const double px_per_mm = sheet_px_per_mm(opts);
  const SheetOnTable place = {sheet.h, sheet.w, t};
  const double edge_px = edge_mm * px_per_mm;
  const CastShadow shadow = silhouette == nullptr
                                ? CastShadow(place, edge_px, px_per_mm)
                                : CastShadow(place, *silhouette, edge_px, px_per_mm);
  const Surface surface = draw_surface(top, h, w, px_per_mm, rng);

  Image table = reserve_image(h, w, 3);
  const std::size_t stride = table.row_samples();
  const auto paint = [&](std::int32_t y0, std::int32_t y1, std::int32_t x0, std::int32_t x1,
                         float* band) {
    paint_table(surface, shadow, top, {y0, y1, x0, x1}, band + x0 * 3, stride);
  };
  for (std::int32_t y = 0; y < h;) {
    // A band ends where the sheet begins or ends.
    const bool beside = y >= t && y < t + sheet.h;
    const std::int32_t limit = y < t ? t : beside ? t + sheet.h : h;
    const std::int32_t end = std::min(y + kBandRows, limit);
    float* band = add_rows(table, static_cast<std::size_t>(end - y));
    if (beside && silhouette == nullptr) {
      paint(y, end, 0, t, band);
      paint(y, end, t + sheet.w, w, band);
    } else {
      paint(y, end, 0, w, band);
    }
    for (std::int32_t row = y; beside && row < end; ++row)
      lay_sheet_row(sheet, silhouette, row - t, band + (row - y) * stride + t * 3);
    y = end;
  }
  return table;
}

}  // namespace morva
