#include "contact_sheet.h"

#include <algorithm>

#include "label_font.h"

namespace morva::host {
namespace {

constexpr std::size_t kWidestRow = 6;
constexpr float kPaper = 0.80f;  // reflectance
constexpr float kInk = 0.02f;

struct Layout {
  int box_width = 1;
  std::vector<int> row_heights;  // of the pictures in each row
  int gap = 0;
  int scale = 1;  // of the letters
  int lines = 0;

  int line_height() const { return (kGlyphHeight + 2) * scale; }
  int step_x() const { return box_width + gap; }
  int step_y(std::size_t row) const { return row_heights[row] + gap + line_height() * lines; }
};

Layout layout_of(const std::vector<PixelSize>& pictures, std::size_t labels, std::size_t columns,
                 int cell_px) {
  Layout layout;
  layout.gap = std::max(6, cell_px / 20);
  layout.scale = std::max(1, cell_px / 140);
  layout.lines = static_cast<int>(labels);
  layout.row_heights.assign((pictures.size() + columns - 1) / columns, 1);
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    int& height = layout.row_heights[i / columns];
    height = std::max(height, pictures[i].height);
    layout.box_width = std::max(layout.box_width, pictures[i].width);
  }
  return layout;
}

PixelSize size_of(const Layout& layout, std::size_t columns) {
  PixelSize size{layout.gap + static_cast<int>(columns) * layout.step_x(), layout.gap * 3 / 2};
  for (std::size_t row = 0; row < layout.row_heights.size(); ++row)
    size.height += layout.step_y(row);
  return size;
}

Picture blank_paper(PixelSize size) {
  Picture paper = new_picture(size.width, size.height);
  std::fill_n(paper.samples.get(), paper.row_samples() * static_cast<std::size_t>(size.height),
              kPaper);
  return paper;
}

void paste(Picture& paper, const Picture& picture, int left, int top) {
  for (int32_t y = 0; y < picture.height; ++y) {
    const std::span<const float> row = picture.row(y);
    float* const place = paper.samples.get() +
                         static_cast<std::size_t>(top + y) * paper.row_samples() +
                         static_cast<std::size_t>(left) * 3;
    std::copy(row.begin(), row.end(), place);
  }
}

// Cut to what the box holds, with two dots for what is gone.
std::string shortened(const std::string& text, const Layout& layout) {
  const auto most =
      static_cast<std::size_t>(std::max(3, layout.box_width / (kGlyphAdvance * layout.scale)));
  return text.size() <= most ? text : text.substr(0, most - 2) + "..";
}

void put_cell(Picture& paper, const Cell& cell, int left, int top, int height,
              const Layout& layout) {
  paste(paper, cell.picture, left + (layout.box_width - cell.picture.width) / 2,
        top + (height - cell.picture.height) / 2);
  int line = top + height + 4 * layout.scale;
  for (const std::string& label : cell.labels) {
    const std::string text = shortened(label, layout);
    const int indent = (layout.box_width - label_width(text, layout.scale)) / 2;
    draw_label(paper, text, left + std::max(0, indent), line, layout.scale, kInk);
    line += layout.line_height();
  }
}

}  // namespace

std::size_t columns_of(std::size_t across, std::size_t down) {
  if (down > 1 || across <= kWidestRow) return across;
  const std::size_t rows = (across + kWidestRow - 1) / kWidestRow;
  return (across + rows - 1) / rows;
}

PixelSize contact_sheet_size(const std::vector<PixelSize>& pictures, std::size_t labels,
                             std::size_t columns, int cell_px) {
  return size_of(layout_of(pictures, labels, columns, cell_px), columns);
}

Picture contact_sheet(const std::vector<Cell>& cells, std::size_t columns, int cell_px) {
  std::vector<PixelSize> sizes;
  std::size_t labels = 0;
  for (const Cell& cell : cells) {
    sizes.push_back(cell.picture.size());
    labels = std::max(labels, cell.labels.size());
  }
  const Layout layout = layout_of(sizes, labels, columns, cell_px);
  Picture paper = blank_paper(size_of(layout, columns));
  int top = layout.gap;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::size_t row = i / columns, column = i % columns;
    put_cell(paper, cells[i], layout.gap + static_cast<int>(column) * layout.step_x(), top,
             layout.row_heights[row], layout);
    if (column + 1 == columns) top += layout.step_y(row);
  }
  return paper;
}

}  // namespace morva::host
