#include "print/coat.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "image/edge_noise.h"
#include "image/elementary.h"

namespace morva {

namespace {

CoatShape shape_of(const CoatBlock& coat, int w, int h) {
  const double long_px = static_cast<double>(std::max(w, h));
  const double brush_px = std::max(1.2, 0.06 * long_px);  // width of the brush
  // A glass rod draws the liquid in one sweep and leaves a far straighter edge.
  const double rough = coat.style == CoatStyle::rod ? 0.3 * coat.rough : coat.rough;
  CoatShape shape;
  shape.margin_px = coat.margin * long_px;
  shape.wander_px = 0.11 * shape.margin_px * rough;
  shape.finger_px = 0.07 * shape.margin_px * rough;
  const double outer_bristles_px = 0.35 * brush_px;
  shape.band_px = std::max(1.0, coat.band * outer_bristles_px);
  shape.edge_px = brush_px / 12.0;
  shape.stroke_px = 0.75 * brush_px;
  shape.tuft_px = 0.075 * brush_px;
  shape.bristle_px = 0.016 * brush_px;
  shape.streaks = static_cast<float>(0.016 * rough);
  shape.dryness = static_cast<float>(std::min(1.0, 0.75 * rough));
  return shape;
}

// Where the coat ends along one side, pixels from the sheet's edge: the slow wander of the hand and
// the steps from stroke to stroke. The coat never leaves the sheet.
std::vector<float> edge_line(Rng& rng, int n, const CoatShape& shape) {
  const auto length = static_cast<std::size_t>(n);
  std::vector<float> line = noise_line(rng, length, 6.0 * shape.edge_px);
  const std::vector<float> steps = noise_line(rng, length, 4.0 * shape.edge_px);
  const auto margin = static_cast<float>(shape.margin_px);
  const auto wander = static_cast<float>(shape.wander_px);
  for (std::size_t i = 0; i < length; ++i)
    line[i] = std::max(0.2f * margin, margin + wander * (line[i] + 0.8f * steps[i]));
  return line;
}

// Tracks that the brush leaves along the rows (or the columns): tufts and, within them, bristles.
DrawnField draw_tracks(Rng& rng, int w, int h, const CoatShape& shape, bool along_rows) {
  DrawnField tracks;
  const auto add = [&](double width_px, double share) {
    const double sigma_x = along_rows ? shape.stroke_px : width_px;
    const double sigma_y = along_rows ? width_px : shape.stroke_px;
    tracks.layers.push_back(stroke_layer(rng, w, h, sigma_x, sigma_y, share));
  };
  add(shape.tuft_px, 1.0);
  add(shape.bristle_px, 0.6);
  return tracks;
}

// Share of a full coat `d` pixels inside an edge, under a track of strength `s`. The brush reaches
// further where it holds more, thins towards the edge, and there only its fuller tracks still wet
// the paper.
float coat_share(float d, float s, const CoatShape& shape) {
  const auto band = static_cast<float>(shape.band_px);
  const float reach = d + static_cast<float>(shape.finger_px) * s;
  const float u = std::clamp(reach / band, 0.0f, 1.0f);
  if (u <= 0.0f || u >= 1.0f) return u;
  const float thin = elementary::powf(u, 0.7f);
  const float wet = 1.0f + shape.dryness * 1.6f * (1.0f - thin) * (s + 0.35f);
  const float rim = std::clamp(reach * 0.7f, 0.0f, 1.0f);
  return std::clamp(rim * thin * std::max(wet, 0.0f), 0.0f, 1.0f);
}

}  // namespace

DrawnCoat draw_coat(Rng& rng, const CoatBlock& coat, int w, int h) {
  DrawnCoat drawn;
  drawn.shape = shape_of(coat, w, h);
  drawn.top = edge_line(rng, w, drawn.shape);
  drawn.bottom = edge_line(rng, w, drawn.shape);
  drawn.left = edge_line(rng, h, drawn.shape);
  drawn.right = edge_line(rng, h, drawn.shape);
  drawn.along = draw_tracks(rng, w, h, drawn.shape, true);
  drawn.across = draw_tracks(rng, w, h, drawn.shape, false);
  return drawn;
}

void brush_coat(Image& ink, const CoatBlock& coat, Rng& rng) {
  if (coat.style == CoatStyle::none) return;
  DrawnCoat drawn = draw_coat(rng, coat, ink.w, ink.h);
  const CoatShape& shape = drawn.shape;
  const Image rows = sum_of_layers(std::move(drawn.along), ink.w, ink.h);
  const Image columns = sum_of_layers(std::move(drawn.across), ink.w, ink.h);
  const auto width = static_cast<float>(ink.w);
  const auto height = static_cast<float>(ink.h);
  for (int y = 0; y < ink.h; ++y) {
    const float cy = static_cast<float>(y) + 0.5f;
    for (int x = 0; x < ink.w; ++x) {
      const float cx = static_cast<float>(x) + 0.5f;
      const float along = rows.at(y, x);
      const float across = columns.at(y, x);
      const float side = std::min(cx - drawn.left[y], width - cx - drawn.right[y]);
      const float end = std::min(cy - drawn.top[x], height - cy - drawn.bottom[x]);
      const float share = std::min(coat_share(side, along, shape), coat_share(end, across, shape));
      const float thickness = 1.0f + shape.streaks * (along + 0.4f * across);
      float& d = ink.at(y, x);
      d = std::clamp(d * share * thickness, 0.0f, 1.0f);
    }
  }
}

}  // namespace morva
