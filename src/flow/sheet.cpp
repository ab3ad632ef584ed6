#include "flow/sheet.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include "finish/mat.h"
#include "finish/sheet_size.h"
#include "finish/stamps.h"
#include "finish/table.h"
#include "profiles/seeds.h"

namespace morva {

namespace {

struct Span {
  int first = 0;
  int last = -1;
  int count = 0;
};

Span used_lines(const std::vector<char>& has_picture) {
  Span span;
  for (int i = 0; i < static_cast<int>(has_picture.size()); ++i) {
    if (!has_picture[i]) continue;
    if (span.count++ == 0) span.first = i;
    span.last = i;
  }
  return span;
}

enum class Side { top, bottom, left, right };

// Steps from a side of the raster, along row or column `line`, to the first value above one half; 0
// when there is none.
int distance_to_picture(const Image& mask, Side side, int line) {
  const bool along_row = side == Side::left || side == Side::right;
  const bool from_end = side == Side::bottom || side == Side::right;
  const int n = along_row ? mask.w : mask.h;
  for (int i = 0; i < n; ++i) {
    const int at = from_end ? n - 1 - i : i;
    if ((along_row ? mask.at(line, at) : mask.at(at, line)) > 0.5f) return i;
  }
  return 0;
}

int ragged_depth(const Image& mask, Side side, const Span& lines) {
  int depth = 0;
  for (int line = lines.first; line <= lines.last; ++line)
    depth = std::max(depth, distance_to_picture(mask, side, line));
  return depth;
}

PixelSize widened(PixelSize sheet, std::int32_t across_px, std::int32_t down_px) {
  require_sheet_size(std::int64_t{sheet.h} + down_px, std::int64_t{sheet.w} + across_px);
  return {sheet.w + across_px, sheet.h + down_px};
}

Image stamp_in_mat(Image sheet, Json& opts) {
  sheet = apply_mat(std::move(sheet), opts);
  Json in_margin = opts;
  const Json& margins = get(opts, "_mat_margins");
  in_margin["_border_px"] = margins[0];
  in_margin["_border_px_bottom"] = margins[1];
  in_margin["_plate_px"] = 0;
  return apply_stamps(std::move(sheet), in_margin);
}

}  // namespace

PixelSize bordered_size(PixelSize print, double border) {
  if (border <= 0.0) return print;
  const std::int32_t both_px = 2 * sheet_pixels(long_side(print) * border);
  return widened(print, both_px, both_px);
}

PixelSize finished_size(PixelSize sheet, const Json& opts, bool no_sheet) {
  if (no_sheet) return sheet;
  if (const auto mat = mat_margins(opts))
    sheet = widened(sheet, 2 * mat->side_px, mat->side_px + mat->bottom_px);
  const std::int32_t table_px = table_margin_px(opts);
  return table_px > 0 ? widened(sheet, 2 * table_px, 2 * table_px) : sheet;
}

Image pad_border(Image image, double border, const std::array<float, 3>& rgb) {
  if (border <= 0.0) return image;
  const PixelSize size = bordered_size({image.w, image.h}, border);
  const int p = (size.w - image.w) / 2;
  Image sheet(size.h, size.w, 3);
  for (std::size_t i = 0; i < sheet.pixels(); ++i) std::copy_n(rgb.data(), 3, &sheet.data[i * 3]);
  for (int y = 0; y < image.h; ++y)
    for (int x = 0; x < image.w; ++x)
      std::copy_n(&image.data[(static_cast<std::size_t>(y) * image.w + x) * image.c], 3,
                  &sheet.at(y + p, x + p));
  return sheet;
}

void lay_base_outside(Image& print, const Image& mask, const std::array<float, 3>& base) {
  float* p = print.data.data();
  for (std::size_t i = 0; i < print.pixels(); ++i, p += print.c) {
    const float t = mask.data[i];
    for (int k = 0; k < 3; ++k) p[k] = t * p[k] + (1.0f - t) * base[k];
  }
}

std::optional<std::array<double, 4>> measure_white_frame(const Image& mask, double long_px,
                                                         const RebatePreset* preset) {
  constexpr double corner_bulge = 0.293;  // 1 - cos 45: what a round corner takes of its radius
  const int rebate = (std::max(mask.h, mask.w) - static_cast<int>(long_px)) / 2;
  const int corner_px =
      preset == nullptr
          ? 0
          : static_cast<int>(std::nearbyint(std::max(1, rebate) * preset->gate_corner));
  std::vector<char> row_has_picture(mask.h), column_has_picture(mask.w);
  for (int y = 0; y < mask.h; ++y)
    for (int x = 0; x < mask.w; ++x)
      if (mask.at(y, x) > 0.5f) row_has_picture[y] = column_has_picture[x] = 1;
  Span rows = used_lines(row_has_picture);
  Span columns = used_lines(column_has_picture);
  if (rows.count <= 2 * corner_px + 2 || columns.count <= 2 * corner_px + 2) return std::nullopt;
  for (Span* lines : {&rows, &columns}) {
    lines->first += corner_px;
    lines->last -= corner_px;
  }
  const double bulge_px = corner_px * corner_bulge;
  return std::array{ragged_depth(mask, Side::top, columns) + bulge_px,
                    ragged_depth(mask, Side::bottom, columns) + bulge_px,
                    ragged_depth(mask, Side::left, rows) + bulge_px,
                    ragged_depth(mask, Side::right, rows) + bulge_px};
}

std::string paper_kind(const Json& paper) {
  return get_text_or(paper, "kind", "");
}

bool is_chosen(const Json& opts, std::string_view key) {
  const auto name = get_optional_text(opts, key);
  return name && !name->empty() && *name != "none";
}

bool paper_has_sheet(const Json& paper) {
  if (paper_kind(paper) == "scan") return false;
  const Json& sheet = get(paper, "sheet");
  return !(sheet.is_boolean() && !sheet.get<bool>());
}

Image finish_sheet(Image image, Json opts, bool no_sheet, const Image* table_hint) {
  if (no_sheet) return image;
  const bool stamps = truthy(get(opts, "emboss_line")) || truthy(get(opts, "blind_stamp")) ||
                      truthy(get(opts, "stamp_text"));
  const bool with_mat = is_chosen(opts, "mat");
  constexpr double stamp_room_mm = 3.0;
  const double room_px = stamp_room_mm * 1000.0 / get_number(opts, "print_px_um", 100.0);
  const bool tight = room_px > get_number(opts, "_border_px", 0.0);

  if (stamps && with_mat && tight) {
    image = stamp_in_mat(std::move(image), opts);
  } else {
    if (stamps) image = apply_stamps(std::move(image), opts);
    if (with_mat) image = apply_mat(std::move(image), opts);
  }
  if (!is_chosen(opts, "table")) return image;
  const double edge_mm = with_mat ? get_number(opts, "mat_bevel_mm", 1.6)
                                  : get_number(opts, "_sheet_thickness_mm", 0.25);
  Rng rng = seeded_rng(opts, kTableStream);
  return apply_table(std::move(image), opts, edge_mm, rng, with_mat ? nullptr : table_hint);
}

}  // namespace morva
