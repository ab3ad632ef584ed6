#include "image/convolution.h"

#include <algorithm>
#include <complex>
#include <stdexcept>

#include "image/elementary.h"

namespace morva {

namespace {

using Complex = std::complex<double>;
using Tile = std::vector<Complex>;

constexpr int kTransform = 1024;        // side of a transform
constexpr int kBlock = kTransform / 2;  // pixels of the plane, or taps, that it takes
// Blocks a side whose spectra are held together, of the kernel and of the result.
constexpr int kTapGroup = 4;
constexpr int kResultGroup = 3;
constexpr double kTwoPi = 6.283185307179586;

// From index n the n roots that merge transforms of n points into those of 2n.
std::vector<Complex> roots_of_unity() {
  std::vector<Complex> roots(kTransform);
  for (int n = 1; n < kTransform; n *= 2) {
    for (int i = 0; i < n; ++i) {
      const double angle = kTwoPi * i / (2 * n);
      roots[n + i] = Complex(elementary::cos(angle), -elementary::sin(angle));
    }
  }
  return roots;
}

// std::complex's product checks for NaN; this is the plain one.
Complex times(Complex a, Complex b) {
  return {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
}

void reorder_by_bit_reversal(Complex* line) {
  for (int i = 1, j = 0; i < kTransform; ++i) {
    int bit = kTransform >> 1;
    for (; (j & bit) != 0; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i < j) std::swap(line[i], line[j]);
  }
}

// Radix-2 transform of one line in place (Cooley and Tukey 1965).
void transform_line(Complex* line, const std::vector<Complex>& roots) {
  reorder_by_bit_reversal(line);
  for (int half = 1; half < kTransform; half *= 2) {
    const Complex* root = &roots[half];
    for (int start = 0; start < kTransform; start += 2 * half) {
      Complex* low = line + start;
      Complex* high = low + half;
      for (int i = 0; i < half; ++i) {
        const Complex even = low[i];
        const Complex odd = times(high[i], root[i]);
        low[i] = even + odd;
        high[i] = even - odd;
      }
    }
  }
}

// In squares that the first cache holds.
void transpose(Tile& tile) {
  constexpr int kSquare = 16;
  for (int top = 0; top < kTransform; top += kSquare)
    for (int left = top; left < kTransform; left += kSquare)
      for (int y = top; y < top + kSquare; ++y)
        for (int x = std::max(left, y + 1); x < left + kSquare; ++x)
          std::swap(tile[y * kTransform + x], tile[x * kTransform + y]);
}

void transform_rows(Tile& tile, const std::vector<Complex>& roots) {
  for (auto row = tile.begin(); row != tile.end(); row += kTransform)
    if (std::any_of(row, row + kTransform, [](Complex v) { return v != Complex(); }))
      transform_line(&*row, roots);
}

// Both axes; the result stands transposed, which two transforms in a row undo.
void transform_tile(Tile& tile, const std::vector<Complex>& roots) {
  transform_rows(tile, roots);
  transpose(tile);
  transform_rows(tile, roots);
}

// Neighbouring blocks; a tile without light or taps is left empty.
struct Group {
  int top, left;
  int rows, cols;
  std::vector<Tile> tiles = std::vector<Tile>(static_cast<std::size_t>(rows) * cols);

  Tile& at(int y, int x) { return tiles[(y - top) * cols + (x - left)]; }
  const Tile& at(int y, int x) const { return tiles[(y - top) * cols + (x - left)]; }
  bool holds(int y, int x) const {
    return y >= top && y < top + rows && x >= left && x < left + cols;
  }
};

// A run of block numbers, `end` excluded.
struct Blocks {
  int first, end;
};

// The last block takes one tap more, which the transform just holds.
int kernel_blocks(int half) {
  return std::max(1, (2 * half + kBlock - 1) / kBlock);
}

int plane_blocks(int size) {
  return (size + kBlock - 1) / kBlock;
}

// The plane's upper half is carried by the real part, its lower half by the imaginary one.
int folded_height(const Image& plane) {
  return (plane.h + 1) / 2;
}

// Blocks of the result that reach into the picture, from `above` before its first pixel to `size`.
Blocks result_blocks(int folded_size, int above, int size, int half) {
  const int past_edge = half - kTransform - above;
  return {past_edge < 0 ? 0 : past_edge / kBlock + 1,
          std::min(plane_blocks(folded_size) + kernel_blocks(half) - 1,
                   (size + half - 1) / kBlock + 1)};
}

Tile tap_spectrum(const std::vector<double>& kernel, int half, int by, int bx,
                  const std::vector<Complex>& roots) {
  const int side = 2 * half + 1;
  const int last = kernel_blocks(half) - 1;
  const int top = by * kBlock, bottom = by == last ? side : top + kBlock;
  const int left = bx * kBlock, right = bx == last ? side : left + kBlock;
  Tile tile(static_cast<std::size_t>(kTransform) * kTransform);
  bool any = false;
  for (int y = top; y < bottom; ++y) {
    for (int x = left; x < right; ++x) {
      const double tap = kernel[static_cast<std::size_t>(y) * side + x];
      any = any || tap != 0.0;
      tile[(y - top) * kTransform + (x - left)] = tap;
    }
  }
  if (!any) return {};
  transform_tile(tile, roots);
  return tile;
}

Group tap_spectra(const std::vector<double>& kernel, int half, int top, int left,
                  const std::vector<Complex>& roots) {
  const int blocks = kernel_blocks(half);
  Group group{top, left, std::min(kTapGroup, blocks - top), std::min(kTapGroup, blocks - left)};
  for (int by = top; by < top + group.rows; ++by)
    for (int bx = left; bx < left + group.cols; ++bx)
      group.at(by, bx) = tap_spectrum(kernel, half, by, bx, roots);
  return group;
}

// False when the block is empty of light.
bool load_light(const Image& plane, int by, int bx, Tile& tile) {
  const int folded = folded_height(plane);
  const int top = by * kBlock, left = bx * kBlock;
  std::fill(tile.begin(), tile.end(), Complex());
  bool any = false;
  for (int y = top; y < std::min(top + kBlock, folded); ++y) {
    for (int x = left; x < std::min(left + kBlock, plane.w); ++x) {
      const float upper = plane.at(y, x);
      const float lower = y + folded < plane.h ? plane.at(y + folded, x) : 0.0f;
      any = any || upper != 0.0f || lower != 0.0f;
      tile[(y - top) * kTransform + (x - left)] = Complex(upper, lower);
    }
  }
  return any;
}

void add_product(const Tile& light, const Tile& taps, Tile& sum) {
  if (sum.empty()) sum.resize(light.size());
  for (std::size_t i = 0; i < light.size(); ++i) sum[i] += times(light[i], taps[i]);
}

// The spectra of `result` by the taps of one group: each block of light is transformed once and
// lights as many results as there are taps for.
void accumulate(const Image& plane, const Group& taps, Tile& light,
                const std::vector<Complex>& roots, Group& result) {
  const int end_y =
      std::min(plane_blocks(folded_height(plane)), result.top + result.rows - taps.top);
  const int end_x = std::min(plane_blocks(plane.w), result.left + result.cols - taps.left);
  for (int y = std::max(0, result.top - taps.top - taps.rows + 1); y < end_y; ++y) {
    for (int x = std::max(0, result.left - taps.left - taps.cols + 1); x < end_x; ++x) {
      if (!load_light(plane, y, x, light)) continue;
      transform_tile(light, roots);
      for (int by = taps.top; by < taps.top + taps.rows; ++by)
        for (int bx = taps.left; bx < taps.left + taps.cols; ++bx)
          if (result.holds(y + by, x + bx) && !taps.at(by, bx).empty())
            add_product(light, taps.at(by, bx), result.at(y + by, x + bx));
    }
  }
}

// Adds a block of the result where it falls. A forward transform of the product gives the inverse
// one with its indices negated.
void add_block(const Tile& tile, int top, int left, Image& sums) {
  constexpr double scale = 1.0 / (static_cast<double>(kTransform) * kTransform);
  const int folded = folded_height(sums);
  const int first_x = std::max(0, -left), end_x = std::min(kTransform, sums.w - left);
  for (int y = 0; y < kTransform; ++y) {
    const Complex* from = &tile[(kTransform - y) % kTransform * kTransform];
    const int upper = top + y, lower = upper + folded;
    for (int x = first_x; x < end_x; ++x) {
      const Complex light = from[(kTransform - x) % kTransform] * scale;
      if (upper >= 0 && upper < sums.h)
        sums.at(upper, left + x) += static_cast<float>(light.real());
      if (lower >= 0 && lower < sums.h)
        sums.at(lower, left + x) += static_cast<float>(light.imag());
    }
  }
}

void add_group(Group& result, int half, const std::vector<Complex>& roots, Image& sums) {
  for (int y = result.top; y < result.top + result.rows; ++y) {
    for (int x = result.left; x < result.left + result.cols; ++x) {
      if (result.at(y, x).empty()) continue;
      transform_tile(result.at(y, x), roots);
      add_block(result.at(y, x), y * kBlock - half, x * kBlock - half, sums);
    }
  }
}

}  // namespace

Image convolve_large(const Image& plane, const std::vector<double>& kernel, int half) {
  const std::size_t side = 2 * static_cast<std::size_t>(std::max(half, 0)) + 1;
  if (half < 0 || kernel.size() != side * side) throw std::length_error("convolve_large: kernel");
  const std::vector<Complex> roots = roots_of_unity();
  const int folded = folded_height(plane);
  const Blocks rows = result_blocks(folded, folded, plane.h, half);
  const Blocks cols = result_blocks(plane.w, 0, plane.w, half);
  Tile light(static_cast<std::size_t>(kTransform) * kTransform);
  Image sums(plane.h, plane.w, 1);
  for (int ky = 0; ky < kernel_blocks(half); ky += kTapGroup) {
    for (int kx = 0; kx < kernel_blocks(half); kx += kTapGroup) {
      const Group taps = tap_spectra(kernel, half, ky, kx, roots);
      for (int y = rows.first; y < rows.end; y += kResultGroup) {
        for (int x = cols.first; x < cols.end; x += kResultGroup) {
          Group result{y, x, std::min(kResultGroup, rows.end - y),
                       std::min(kResultGroup, cols.end - x)};
          accumulate(plane, taps, light, roots, result);
          add_group(result, half, roots, sums);
        }
      }
    }
  }
  return sums;
}

}  // namespace morva
