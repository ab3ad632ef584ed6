#include "image/convolution.h"

#include <algorithm>
#include <complex>
#include <stdexcept>

#include "image/elementary.h"

namespace morva {

namespace {

using Complex = std::complex<double>;

constexpr int kTransform = 1024;  // side of a tile's transform
constexpr int kLargestHalf = kTransform / 4;
constexpr double kTwoPi = 6.283185307179586;

std::vector<Complex> roots_of_unity() {
  std::vector<Complex> roots(kTransform / 2);
  for (int i = 0; i < kTransform / 2; ++i) {
    const double angle = kTwoPi * i / kTransform;
    roots[i] = Complex(elementary::cos(angle), -elementary::sin(angle));
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
  for (int length = 2; length <= kTransform; length *= 2) {
    const int half = length / 2;
    const int stride = kTransform / length;
    for (int start = 0; start < kTransform; start += length) {
      for (int i = 0; i < half; ++i) {
        const Complex even = line[start + i];
        const Complex odd = times(line[start + i + half], roots[i * stride]);
        line[start + i] = even + odd;
        line[start + i + half] = even - odd;
      }
    }
  }
}

void transpose(std::vector<Complex>& tile) {
  for (int y = 0; y < kTransform; ++y)
    for (int x = y + 1; x < kTransform; ++x)
      std::swap(tile[y * kTransform + x], tile[x * kTransform + y]);
}

// Both axes; the result stands transposed, which two transforms in a row undo.
void transform_tile(std::vector<Complex>& tile, const std::vector<Complex>& roots) {
  for (int y = 0; y < kTransform; ++y) transform_line(&tile[y * kTransform], roots);
  transpose(tile);
  for (int y = 0; y < kTransform; ++y) transform_line(&tile[y * kTransform], roots);
}

std::vector<Complex> kernel_spectrum(const std::vector<double>& kernel, int half,
                                     const std::vector<Complex>& roots) {
  std::vector<Complex> tile(static_cast<std::size_t>(kTransform) * kTransform);
  const int side = 2 * half + 1;
  for (int y = 0; y < side; ++y)
    for (int x = 0; x < side; ++x) tile[y * kTransform + x] = kernel[y * side + x];
  transform_tile(tile, roots);
  return tile;
}

// Loads the block that starts at (top, left); false when it is empty of light.
bool load_block(const Image& plane, int top, int left, int block, std::vector<Complex>& tile) {
  std::fill(tile.begin(), tile.end(), Complex());
  bool any = false;
  for (int y = 0; y < std::min(block, plane.h - top); ++y) {
    for (int x = 0; x < std::min(block, plane.w - left); ++x) {
      const float value = plane.at(top + y, left + x);
      any = any || value != 0.0f;
      tile[y * kTransform + x] = value;
    }
  }
  return any;
}

// Adds the convolved block where it falls. A forward transform of the product gives the inverse one
// with its indices negated.
void add_block(const std::vector<Complex>& tile, int top, int left, int half, int block,
               Image& sums) {
  constexpr double scale = 1.0 / (static_cast<double>(kTransform) * kTransform);
  const int reach = block + 2 * half;
  for (int y = 0; y < reach; ++y) {
    const int to_y = top + y - half;
    if (to_y < 0 || to_y >= sums.h) continue;
    const int from_y = (kTransform - y) % kTransform;
    for (int x = 0; x < reach; ++x) {
      const int to_x = left + x - half;
      if (to_x < 0 || to_x >= sums.w) continue;
      const int from_x = (kTransform - x) % kTransform;
      sums.at(to_y, to_x) += static_cast<float>(tile[from_y * kTransform + from_x].real() * scale);
    }
  }
}

}  // namespace

Image convolve_large(const Image& plane, const std::vector<double>& kernel, int half) {
  if (half < 0 || half > kLargestHalf) throw std::length_error("convolve_large: half-width");
  const std::vector<Complex> roots = roots_of_unity();
  const std::vector<Complex> spectrum = kernel_spectrum(kernel, half, roots);
  const int block = kTransform - 2 * half;
  std::vector<Complex> tile(spectrum.size());
  Image sums(plane.h, plane.w, 1);
  for (int top = 0; top < plane.h; top += block) {
    for (int left = 0; left < plane.w; left += block) {
      if (!load_block(plane, top, left, block, tile)) continue;
      transform_tile(tile, roots);
      for (std::size_t i = 0; i < tile.size(); ++i) tile[i] = times(tile[i], spectrum[i]);
      transform_tile(tile, roots);
      add_block(tile, top, left, half, block, sums);
    }
  }
  return sums;
}

}  // namespace morva
