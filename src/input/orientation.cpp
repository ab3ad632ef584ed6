#include "input/orientation.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <type_traits>

namespace morva {
namespace {

// Where output pixel (y, x) is found in the input: first + y * down + x * right, in pixels.
struct PixelWalk {
  std::ptrdiff_t first;
  std::ptrdiff_t down;
  std::ptrdiff_t right;
};

PixelWalk walk_of(std::ptrdiff_t h, std::ptrdiff_t w, Turn turn) {
  PixelWalk walk{};
  switch (turn.quarter_turns) {
    case 0:
      walk = {0, w, 1};
      break;
    case 1:
      walk = {(h - 1) * w, 1, -w};
      break;
    case 2:
      walk = {h * w - 1, -w, -1};
      break;
    default:
      walk = {w - 1, -1, w};
      break;
  }
  if (turn.mirror) {
    // Column x of the input becomes w - 1 - x: the start moves to the row's other end and steps
    // along the row change their sign.
    const std::ptrdiff_t column = walk.first % w;
    walk.first += w - 1 - 2 * column;
    std::ptrdiff_t& along_row = turn.swaps_sides() ? walk.down : walk.right;
    along_row = -along_row;
  }
  return walk;
}

// A quarter turn reads down columns. Square tiles keep the rows that a tile touches in the cache.
constexpr std::int32_t kTile = 32;

// `c` is an integer, or a constant type for pictures and previews, so that a pixel is copied in
// place.
template <class Sample, class Channels>
void turn_tiled(const Sample* in, std::int32_t h, std::int32_t w, Channels c, Turn turn,
                Sample* out) {
  const PixelWalk walk = walk_of(h, w, turn);
  const std::int32_t out_h = turn.swaps_sides() ? w : h;
  const std::int32_t out_w = turn.swaps_sides() ? h : w;
  for (std::int32_t tile_y = 0; tile_y < out_h; tile_y += kTile) {
    const std::int32_t end_y = std::min(tile_y + kTile, out_h);
    for (std::int32_t tile_x = 0; tile_x < out_w; tile_x += kTile) {
      const std::int32_t end_x = std::min(tile_x + kTile, out_w);
      for (std::int32_t y = tile_y; y < end_y; ++y) {
        const Sample* from = in + (walk.first + y * walk.down + tile_x * walk.right) * c;
        Sample* to = out + (static_cast<std::ptrdiff_t>(y) * out_w + tile_x) * c;
        for (std::int32_t x = tile_x; x < end_x; ++x) {
          for (std::int32_t k = 0; k < c; ++k) {
            to[k] = from[k];
          }
          from += walk.right * c;
          to += c;
        }
      }
    }
  }
}

template <class Sample>
void turn_any(const Sample* in, std::int32_t h, std::int32_t w, std::int32_t c, Turn turn,
              Sample* out) {
  if (c == 3) {
    turn_tiled(in, h, w, std::integral_constant<std::int32_t, 3>{}, turn, out);
  } else if (c == 4) {
    turn_tiled(in, h, w, std::integral_constant<std::int32_t, 4>{}, turn, out);
  } else {
    turn_tiled(in, h, w, c, turn, out);
  }
}

}  // namespace

Turn turn_of_orientation(std::int64_t orientation) {
  static constexpr Turn kTurns[9] = {{0, false}, {0, false}, {0, true}, {2, false}, {2, true},
                                     {3, true},  {1, false}, {1, true}, {3, false}};
  return orientation >= 1 && orientation <= 8 ? kTurns[orientation] : Turn{};
}

Turn turn_of_degrees(double degrees, bool mirror) {
  const double turns =
      std::isfinite(degrees) ? std::fmod(std::nearbyint(degrees / 90.0), 4.0) : 0.0;
  return {(static_cast<int>(turns) + 4) % 4, mirror};
}

Image mirror_rotate(Image image, double degrees, bool mirror) {
  const Turn turn = turn_of_degrees(degrees, mirror);
  if (turn.identity() || image.data.empty()) {
    return image;
  }
  Image turned(turn.swaps_sides() ? image.w : image.h, turn.swaps_sides() ? image.h : image.w,
               image.c);
  turn_samples(image.data.data(), image.h, image.w, image.c, turn, turned.data.data());
  return turned;
}

void turn_samples(const float* in, std::int32_t h, std::int32_t w, std::int32_t c, Turn turn,
                  float* out) {
  turn_any(in, h, w, c, turn, out);
}

void turn_samples(const std::uint8_t* in, std::int32_t h, std::int32_t w, std::int32_t c, Turn turn,
                  std::uint8_t* out) {
  turn_any(in, h, w, c, turn, out);
}

}  // namespace morva
