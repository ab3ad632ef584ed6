// Small pictures side by side on white paper, each with its labels below it.
#pragma once

#include <string>
#include <vector>

#include "picture.h"

namespace morva::host {

struct Cell {
  Picture picture;
  std::vector<std::string> labels;  // a line each
};

// How many cells stand side by side: of a grid its columns, of a single row as many as fit a page.
std::size_t columns_of(std::size_t across, std::size_t down);

// The size of such a sheet of pictures of these sizes, with so many labels below each.
PixelSize contact_sheet_size(const std::vector<PixelSize>& pictures, std::size_t labels,
                             std::size_t columns, int cell_px);

// Row by row; a picture stands in the middle of a box as wide as the widest of all and as high as
// the highest of its row.
Picture contact_sheet(const std::vector<Cell>& cells, std::size_t columns, int cell_px);

}  // namespace morva::host
