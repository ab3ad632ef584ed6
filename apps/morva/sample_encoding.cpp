#include "sample_encoding.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <limits>

namespace morva::host {
namespace {

// A third of the exponent gives the root within 4 %; each of Halley's steps triples the digits.
double cube_root(double value) {
  constexpr uint64_t kTwoThirdsOfBias = 0x2A9F7893782DA1CEu;
  double root = std::bit_cast<double>(std::bit_cast<uint64_t>(value) / 3 + kTwoThirdsOfBias);
  for (int step = 0; step < 3; ++step) {
    const double cube = root * root * root;
    root = root * (cube + value + value) / (cube + cube + value);
  }
  return root;
}

template <class Integer>
void encode_samples(std::span<const float> linear, std::span<Integer> encoded) {
  constexpr double kFull = std::numeric_limits<Integer>::max();
  for (std::size_t i = 0; i < linear.size(); ++i) {
    const double value = linear[i];
    const double clipped = value > 0.0 ? (value < 1.0 ? value : 1.0) : 0.0;  // NaN fails the first
    encoded[i] = static_cast<Integer>(srgb_encode(clipped) * kFull + 0.5);
  }
}

}  // namespace

double srgb_encode(double linear) {
  if (linear <= 0.0031308) return linear * 12.92;
  // The exponent 1 / 2.4 is 1/4 + 1/6.
  const double half = std::sqrt(linear);
  return 1.055 * (std::sqrt(half) * cube_root(half)) - 0.055;
}

void encode_row(std::span<const float> linear, std::span<uint8_t> encoded) {
  encode_samples(linear, encoded);
}

void encode_row(std::span<const float> linear, std::span<uint16_t> encoded) {
  encode_samples(linear, encoded);
}

}  // namespace morva::host
