// Compiled once for each instruction set. Each loop runs over samples that lie next to each other,
// whatever their channel.

#include "repro/vector/doubling_loops.h"

namespace morva::vector::MORVA_ISA {

namespace {

constexpr std::size_t kBlock = 192;  // samples; whole pixels of one channel or three

inline float weighed(const float* at, std::size_t step, const double* w) {
  const double sum = w[0] * static_cast<double>(at[0]) + w[1] * static_cast<double>(at[step]) +
                     w[2] * static_cast<double>(at[2 * step]);
  return static_cast<float>(sum + w[3] * static_cast<double>(at[3 * step]));
}

template <std::size_t kChannels>
void double_pixels(const float* row, std::size_t n, const DoublingTaps& taps, float* out) {
  float before[kBlock], behind[kBlock];
  const std::size_t samples = n * kChannels;
  for (std::size_t done = 0; done < samples; done += kBlock) {
    const std::size_t count = samples - done < kBlock ? samples - done : kBlock;
    const float* from = row + done - 2 * kChannels;
    for (std::size_t i = 0; i < count; ++i) before[i] = weighed(from + i, kChannels, taps.before);
    from += kChannels;
    for (std::size_t i = 0; i < count; ++i) behind[i] = weighed(from + i, kChannels, taps.behind);
    for (std::size_t i = 0; i < count; i += kChannels, out += 2 * kChannels)
      for (std::size_t k = 0; k < kChannels; ++k) {
        out[k] = before[i + k];
        out[kChannels + k] = behind[i + k];
      }
  }
}

void double_any_pixels(const float* row, std::size_t n, std::size_t channels,
                       const DoublingTaps& taps, float* out) {
  if (channels == 1)
    double_pixels<1>(row, n, taps, out);
  else
    double_pixels<3>(row, n, taps, out);
}

void weigh_rows(const float* rows, std::size_t stride, const double* weights, std::size_t count,
                std::size_t n, float* out) {
  if (count == kDoublingTaps) {
    for (std::size_t i = 0; i < n; ++i) out[i] = weighed(rows + i, stride, weights);
    return;
  }
  for (std::size_t i = 0; i < n; ++i) {
    double sum = 0.0;
    for (std::size_t t = 0; t < count; ++t)
      sum += weights[t] * static_cast<double>(rows[t * stride + i]);
    out[i] = static_cast<float>(sum);
  }
}

}  // namespace

const DoublingLoops& doubling_loops() {
  static constexpr DoublingLoops loops = {double_any_pixels, weigh_rows};
  return loops;
}

}  // namespace morva::vector::MORVA_ISA
