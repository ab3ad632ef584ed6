#include "finish/mat.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "finish/mat_styles.h"
#include "finish/mat_window.h"
#include "finish/sheet_scale.h"
#include "image/growing_image.h"

namespace morva {

namespace {

constexpr std::int32_t kNarrowestMarginPx = 4;

// What the options say of a mat, read once.
struct MatPlan {
  std::string style;
  double px_per_mm;
  MatMargins margins;
};

std::optional<std::string> mat_style(const Json& opts) {
  const auto name = get_optional_text(opts, "mat");
  if (!name || name->empty() || *name == "none") return std::nullopt;
  for (const char* style : {"classic", "double", "emboss", "french"})
    if (*name == style) return name;
  throw std::invalid_argument("Паспарту «" + *name +
                              "» нет. Есть: none, classic, double, emboss, french");
}

std::optional<MatPlan> plan_mat(const Json& opts) {
  const auto style = mat_style(opts);
  if (!style) return std::nullopt;
  const double px_per_mm = sheet_px_per_mm(opts);
  const double width_px = get_number(opts, "mat_width_cm", 6.0) * 10.0 * px_per_mm;
  const std::int32_t side = std::max(kNarrowestMarginPx, sheet_pixels(width_px));
  const double bottom_weight = get_number(opts, "mat_bottom_weight", 1.12);
  return MatPlan{*style, px_per_mm, {side, std::max(0, sheet_pixels(bottom_weight * side))}};
}

// The mat on a canvas of its own: rows above and below the window, and what stands beside it.
class MatPainter {
 public:
  MatPainter(const MatFace& face, const MatWindow& window, std::int32_t width)
      : face_(face), window_(window), width_(width), beside_(static_cast<std::size_t>(width)) {
    for (std::int32_t x = 0; x < width; ++x) {
      const std::int32_t dx = beyond(x, window.left, window.right);
      if (dx > 0) beside_[static_cast<std::size_t>(x)] = face.sides[nearest(x)][distance(dx)];
    }
  }

  // Columns first .. end - 1 to the left or right of the window.
  void paint_beside(std::int32_t first, std::int32_t end, float* row) const {
    if (end > first)
      std::copy_n(beside_[static_cast<std::size_t>(first)].data(), (end - first) * 3,
                  row + first * 3);
  }

  // A row `dy` above or below the window. The mitre runs where both distances agree.
  void paint_across(WindowSide side, std::int32_t dy, float* row) const {
    const std::int32_t first = std::max(0, window_.left - dy);
    const std::int32_t end = std::min(width_, window_.right + dy + 1);
    paint_beside(0, first, row);
    const BoardColour& colour = face_.sides[side][distance(dy)];
    for (std::int32_t x = first; x < end; ++x) std::copy_n(colour.data(), 3, row + x * 3);
    paint_beside(end, width_, row);
    if (dy < face_.corner_first || dy > face_.corner_last) return;
    for (std::int32_t dx = face_.corner_first; dx <= face_.corner_last; ++dx)
      for (const std::int32_t x : {window_.left - dx, window_.right + dx})
        if (x >= 0 && x < width_) {
          const BoardColour& square =
              dx > dy ? face_.corners[nearest(x)][distance(dx)] : face_.corners[side][distance(dy)];
          std::copy_n(square.data(), 3, row + x * 3);
        }
  }

 private:
  static std::size_t distance(std::int32_t d) { return static_cast<std::size_t>(d); }
  WindowSide nearest(std::int32_t x) const { return x < window_.left ? kWindowLeft : kWindowRight; }

  const MatFace& face_;
  MatWindow window_;
  std::int32_t width_;
  std::vector<BoardColour> beside_;
};

}  // namespace

std::optional<MatMargins> mat_margins(const Json& opts) {
  const auto plan = plan_mat(opts);
  return plan ? std::optional(plan->margins) : std::nullopt;
}

Image apply_mat(Image sheet, Json& opts) {
  const auto plan = plan_mat(opts);
  if (!plan) return sheet;
  const auto& [style, px_per_mm, margins] = *plan;
  const std::int64_t canvas_h = std::int64_t{sheet.h} + margins.side_px + margins.bottom_px;
  const std::int64_t canvas_w = std::int64_t{sheet.w} + 2 * std::int64_t{margins.side_px};
  require_sheet_size(canvas_h, canvas_w);
  const std::int32_t h = static_cast<std::int32_t>(canvas_h);
  const std::int32_t w = static_cast<std::int32_t>(canvas_w);

  const MatWindow on_sheet = mat_window(sheet.h, sheet.w, opts, px_per_mm);
  const std::int32_t m = margins.side_px;
  const MatWindow window = {on_sheet.top + m, on_sheet.bottom + m, on_sheet.left + m,
                            on_sheet.right + m};
  const std::int32_t farthest =
      std::max({window.top, window.left, h - 1 - window.bottom, w - 1 - window.right});
  const MatFace face = mat_face(mat_boards(opts, style, px_per_mm), farthest);
  const MatPainter mat(face, window, w);
  const ShadedWindow picture(on_sheet, px_per_mm);

  Image canvas = reserve_image(h, w, 3);
  for (std::int32_t y = 0; y < h; ++y) {
    float* row = add_rows(canvas, 1);
    if (y < window.top) {
      mat.paint_across(kWindowTop, window.top - y, row);
    } else if (y > window.bottom) {
      mat.paint_across(kWindowBottom, y - window.bottom, row);
    } else {
      mat.paint_beside(0, window.left, row);
      picture.shade_row(y - m, &sheet.at(y - m, on_sheet.left), row + window.left * 3);
      mat.paint_beside(window.right + 1, w, row);
    }
  }
  opts["_mat_margins"] = {m, margins.bottom_px};
  return canvas;
}

}  // namespace morva
