// Gaussian blur of a plane that is never held whole. It is read and written in tiles, a band of
// rows at a time, so that both passes find their samples in the cache; the result has the bits of
// gaussian_filter.
#pragma once

#include <cstddef>
#include <functional>

namespace morva {

// A part of a plane; row j of it begins j * stride further on.
struct TilePlace {
  std::size_t y, x;
  std::size_t rows, columns;
};

// Makes a tile of the plane. Bands are asked for from the top down and the tiles of a band from
// left to right, each sample once.
using ReadTile = std::function<void(const TilePlace& place, float* out, std::size_t stride)>;

// Takes a tile of the blurred plane, in the same order; the tiles have other edges.
using TakeTile = std::function<void(const TilePlace& place, const float* in, std::size_t stride)>;

// The most rows of a tile that is given out.
inline constexpr std::size_t kStreamRows = 64;

// The plane's edges are mirrored, the edge sample repeats. A sigma of at most 1e-15 leaves the
// samples as they are.
void stream_gaussian(std::size_t rows, std::size_t width, double sigma, const ReadTile& read,
                     const TakeTile& take);

}  // namespace morva
