// The soft shadow of a sheet on the table beneath it. Light comes from the upper left, so the
// shadow lies a little to the right and below; the thicker the sheet's edge, the softer it is.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "image/image.h"

namespace morva {

// The table: a sheet of h x w with the same margin all round.
struct SheetOnTable {
  std::int32_t h;
  std::int32_t w;
  std::int32_t margin;
};

// How much of a pixel the sheet covers, from a silhouette's value: held to 0..1.
inline float sheet_cover(float value) {
  return std::min(std::max(0.0f, value), 1.0f);
}

class CastShadow {
 public:
  // Of a rectangular sheet.
  CastShadow(const SheetOnTable& place, double edge_px, double px_per_mm);
  // Of a sheet of any outline: `silhouette` has one channel and the sheet's size, 1 on the sheet.
  CastShadow(const SheetOnTable& place, const Image& silhouette, double edge_px, double px_per_mm);

  // The share of light that the shadow leaves to columns x0 .. x1 - 1 of row `y` of the table.
  void light_left(std::int32_t y, std::int32_t x0, std::int32_t x1, float* share) const;

 private:
  // The shadow close to the sheet and the wider one around it. That of a rectangle is the product
  // of one profile down the table and one across.
  struct Profiles {
    std::vector<float> core;
    std::vector<float> wide;
  };
  static Profiles profiles(std::int32_t length, std::int32_t margin, double edge_px,
                           double offset_px);

  Profiles down_, across_;
  std::optional<Image> core_, wide_;
};

}  // namespace morva
