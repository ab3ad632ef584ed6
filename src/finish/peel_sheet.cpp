#include "finish/peel_sheet.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "finish/card_tint.h"
#include "finish/card_window.h"
#include "image/edge_noise.h"
#include "image/elementary.h"
#include "image/filters.h"
#include "image/held.h"
#include "image/noise.h"
#include "image/resample.h"
#include "print/peel_texture.h"
#include "profiles/peel_sizes.h"

namespace morva {

namespace {

constexpr int kSides = 4;  // top, bottom, left, right

// Millimetres of a picture or a sheet.
struct SheetLengths {
  double h_mm, w_mm;
};

SheetLengths counted_lengths(int h, int w, double px_per_mm, double long_mm, double short_mm) {
  const bool upright = h >= w;
  return {counted_mm(h, 1.0 / px_per_mm, upright ? long_mm : short_mm),
          counted_mm(w, 1.0 / px_per_mm, upright ? short_mm : long_mm)};
}

struct PeelEdge {
  double chips_per_side = 0.0;
  double rough_mm = 0.0;  // how far the paste's edge wanders
  double yellow = 0.0;    // strength of yellowing
};

PeelEdge peel_edge(const Json& film) {
  constexpr double fresh_rough_mm = 0.05;
  constexpr double most_chips = 500.0;
  const Json& frame = get_object(film, "frame");
  const Json& by_size = get_object(frame, "chips_by_size");
  const std::string size_name = noted_peel_size(film);
  PeelEdge edge;
  edge.chips_per_side = held(has(by_size, size_name) ? get_number(by_size, size_name, 0.0)
                                                     : get_number(frame, "chips", 0.0),
                             0.0, most_chips);
  edge.rough_mm = fresh_rough_mm * held(get_number(film, "_temp_rough", 1.0), 0.0, 10.0);
  edge.yellow = held(get_number(frame, "edge_yellow", 0.0), 0.0, 10.0) *
                held(get_number(film, "_dev_mottle", 1.0), 0.0, 1.0);
  return edge;
}

// How far the paste stops short of the opening's edge along one side, in pixels: it creeps under
// the mask's rim in small tongues and in longer waves. Drawn in tenths of a millimetre.
std::vector<float> ragged_side(Rng& rng, int length_px, double length_mm, double rough_px) {
  constexpr double step_mm = 0.1;
  constexpr double tongue_steps = 1.6, wave_steps = 14.0;
  constexpr double most_steps = 8192.0;
  const auto steps =
      static_cast<std::size_t>(held(std::nearbyint(length_mm / step_mm), 10.0, most_steps));
  const std::vector<float> tongues = noise_line(rng, steps, tongue_steps);
  const std::vector<float> waves = noise_line(rng, steps, wave_steps);
  Image line(1, static_cast<int>(steps), 1);
  for (std::size_t i = 0; i < steps; ++i)
    line.data[i] = std::max(0.0f, 1.0f + 0.6f * tongues[i] + 0.7f * waves[i]);
  line = pil_resize(line, length_px, 1, kResizeTriangle);
  const double scale = std::min(rough_px, length_px * 0.25);
  for (float& v : line.data) v = static_cast<float>(v * scale);
  return std::move(line.data);
}

// What is left of the picture at its edges: 1 inside, 0 where the sheet stayed white.
class PasteMask {
 public:
  PasteMask(int h, int w) : mask_(h, w, 1, 1.0f) {}

  void cut_edges(Rng& rng, const WindowCorner& corner, const SheetLengths& length,
                 double rough_px) {
    const int h = mask_.h, w = mask_.w;
    std::array<std::vector<float>, kSides> short_of;
    float deepest = 0.0f;
    for (int side = 0; side < kSides; ++side) {
      short_of[side] = side < 2 ? ragged_side(rng, w, length.w_mm, rough_px)
                                : ragged_side(rng, h, length.h_mm, rough_px);
      for (const float v : short_of[side]) deepest = std::max(deepest, v);
    }
    const int reach =
        2 + static_cast<int>(std::ceil(deepest + corner.cut_px + 2.0 * corner.round_px));
    for (int y = 0; y < h; ++y) {
      const bool whole_row = y < reach || y >= h - reach;
      for (int x = 0; x < w; ++x) {
        if (!whole_row && x == reach && w - reach > x) x = w - reach;
        const EdgeDistance edge = distance_to_edge(x + 0.5, y + 0.5, h, w, corner);
        const float level = edge.ny < 0.0 ? short_of[0][x] : short_of[1][x];
        const float upright = edge.nx < 0.0 ? short_of[2][y] : short_of[3][y];
        const double ragged =
            edge.nx * edge.nx * upright + edge.ny * edge.ny * level;  // shared on a corner
        mask_.at(y, x) = share_inside(edge.px + ragged);
      }
    }
  }

  // The receiving layer tears off in small bites, half ellipses with their feet on the edge.
  void bite(int side, double at, double depth_px, double half_width_px) {
    const bool level = side < 2;
    const int length = level ? mask_.w : mask_.h, across = level ? mask_.h : mask_.w;
    const double a = std::max(half_width_px, 0.5), b = std::max(depth_px, 0.5);
    const int first = std::max(0, static_cast<int>(std::floor(at - a - 1.0)));
    const int last = std::min(length - 1, static_cast<int>(std::ceil(at + a + 1.0)));
    const int deep = std::min(across - 1, static_cast<int>(std::ceil(b + 1.0)));
    for (int d = 0; d <= deep; ++d)
      for (int i = first; i <= last; ++i) {
        const double u = (i + 0.5 - at) / a, v = (d + 0.5) / b;
        const double r = std::sqrt(u * u + v * v);
        const float left =
            static_cast<float>(std::clamp((r - 1.0) * std::min(a, b) + 0.5, 0.0, 1.0));
        const int inward = side == 0 || side == 2 ? d : across - 1 - d;
        float& m = level ? mask_.at(inward, i) : mask_.at(i, inward);
        m = std::min(m, left);
      }
  }

  Image soft(double px_per_mm) && {
    const double sigma_px = 0.04 * px_per_mm;
    if (!(sigma_px >= 0.3)) return std::move(mask_);
    return gaussian_filter(mask_, std::min(sigma_px, 64.0), kBoundaryConstant);
  }

  int length(int side) const { return side < 2 ? mask_.w : mask_.h; }

 private:
  Image mask_;
};

void chip_edges(PasteMask& mask, Rng& rng, const PeelEdge& edge, double px_per_mm) {
  constexpr double smallest = 0.35, largest = 4.0;
  for (int side = 0; side < kSides; ++side) {
    const int chips = static_cast<int>(std::floor(edge.chips_per_side + rng.uniform()));
    for (int i = 0; i < chips; ++i) {
      const double at = rng.uniform() * mask.length(side);
      const double size = std::clamp(elementary::exp(rng.normal() * 0.8), smallest, largest);
      const double depth_mm = rng.uniform(0.1, 0.3) * size;
      const double half_width_mm = rng.uniform(0.08, 0.2) * size;
      const double most_px = mask.length(side) * 0.25;
      mask.bite(side, at, std::min(depth_mm * px_per_mm, most_px),
                std::min(half_width_mm * px_per_mm, most_px));
    }
  }
}

// Reagent left at the rims oxidises: the margins go yellow from the sheet's edges inwards, in some
// places more than in others.
void yellow_edges(Image& sheet, Rng& rng, double strength, const SheetLengths& length,
                  double px_per_mm) {
  constexpr double fall_mm = 2.5;
  constexpr double cell_mm = 1.5, sigma_cells = 4.0;  // patches of 6 mm
  constexpr double unevenness = 0.6;
  constexpr double green_loss = 0.03, blue_loss = 0.1;
  const double e = rng.uniform(0.15, 0.6) * strength;
  const auto cells = [&](double side_mm) {
    return static_cast<int>(held(std::nearbyint(side_mm / cell_mm), 8.0, 1024.0));
  };
  const Image patches =
      pil_resize(normalised_noise(rng, cells(length.w_mm), cells(length.h_mm), sigma_cells),
                 sheet.w, sheet.h, kResizeTriangle);
  const auto fall_along = [&](int n) {
    std::vector<float> fall(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
      fall[i] = static_cast<float>(
          elementary::exp(-(std::min(i, n - 1 - i) + 0.5) / px_per_mm / fall_mm) * e);
    return fall;
  };
  const std::vector<float> down = fall_along(sheet.h), across = fall_along(sheet.w);
  float* p = sheet.data.data();
  std::size_t i = 0;
  for (int y = 0; y < sheet.h; ++y)
    for (int x = 0; x < sheet.w; ++x, ++i, p += 3) {
      const float near_edge = std::max(down[y], across[x]);
      const float v = std::clamp(
          near_edge * (1.0f + static_cast<float>(unevenness) * patches.data[i]), 0.0f, 1.0f);
      p[1] *= 1.0f - static_cast<float>(green_loss) * v;
      p[2] *= 1.0f - static_cast<float>(blue_loss) * v;
    }
}

}  // namespace

Image lay_on_peel_sheet(const Image& picture, const SheetMargins& margins, const Json& film,
                        const Json& options) {
  const PeelEdge edge = peel_edge(film);
  const Json& frame = get_object(film, "frame");
  const PeelSize& size = peel_size(frame, noted_peel_size(film));
  const double long_mm = held(get_number(film, "_image_long_mm", size.image_long_mm), 1.0, 1e6);
  const double px_per_mm = std::max(picture.h, picture.w) / long_mm;
  PasteMask paste(picture.h, picture.w);
  Rng edge_rng = peel_rng(film, options, PeelField::edge);
  paste.cut_edges(
      edge_rng, window_corner(frame, px_per_mm, picture.h, picture.w),
      counted_lengths(picture.h, picture.w, px_per_mm, size.image_long_mm, size.image_short_mm),
      edge.rough_mm * px_per_mm);
  Rng chip_rng = peel_rng(film, options, PeelField::chips);
  chip_edges(paste, chip_rng, edge, px_per_mm);
  const Image mask = std::move(paste).soft(px_per_mm);

  const CardTint tint = card_tint(frame);
  Image sheet = blank_card(picture.h + margins.top + margins.bottom,
                           picture.w + margins.left + margins.right, tint);
  for (int y = 0; y < picture.h; ++y) {
    const float* in = &picture.data[static_cast<std::size_t>(y) * picture.row_samples()];
    float* out = &sheet.at(y + margins.top, margins.left);
    for (int x = 0; x < picture.w; ++x) {
      const float t = mask.at(y, x);
      for (int k = 0; k < 3; ++k) out[3 * x + k] = t * in[3 * x + k] + (1.0f - t) * tint[k];
    }
  }
  if (edge.yellow > 0.0) {
    Rng yellow_rng = peel_rng(film, options, PeelField::yellow);
    yellow_edges(
        sheet, yellow_rng, edge.yellow,
        counted_lengths(sheet.h, sheet.w, px_per_mm, size.card_long_mm, size.card_short_mm),
        px_per_mm);
  }
  return sheet;
}

}  // namespace morva
