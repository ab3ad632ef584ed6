#include "input/srgb_table.h"

#include <algorithm>

#include "image/elementary.h"

namespace morva {
namespace {

float srgb_to_linear(float v) {
  return v <= 0.04045f ? v / 12.92f : elementary::powf((v + 0.055f) / 1.055f, 2.4f);
}

}  // namespace

const std::array<float, 256>& srgb_to_linear_table() {
  static const std::array<float, 256> kTable = [] {
    std::array<float, 256> table{};
    for (int i = 0; i < 256; ++i) {
      table[i] = srgb_to_linear(static_cast<float>(i) / 255.0f);
    }
    return table;
  }();
  return kTable;
}

std::uint8_t encode_srgb8(float linear) {
  // Code i reaches from the light of i - 1/2 to that of i + 1/2.
  static const std::array<float, 255> kUpperEdge = [] {
    std::array<float, 255> edges{};
    for (int i = 0; i < 255; ++i) {
      edges[i] = srgb_to_linear((static_cast<float>(i) + 0.5f) / 255.0f);
    }
    return edges;
  }();
  if (!(linear > 0.0f)) {
    return 0;
  }
  const auto edge = std::upper_bound(kUpperEdge.begin(), kUpperEdge.end(), linear);
  return static_cast<std::uint8_t>(edge - kUpperEdge.begin());
}

}  // namespace morva
