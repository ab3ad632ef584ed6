// Compiled once for each instruction set, so nothing here is shared with other files: raw pointers,
// sizes and loops.
//
// A sum of cosines over a window obeys a second-order recurrence as the window moves by one sample:
//   S(i+1) - S(i) = S(i) - S(i-1) - (2 - 2 cos w) S(i) + cos(w R) entering - cos(w (R+1)) inside,
// where `inside` adds the two samples at the window's edges and `entering` the two beyond them. It
// is kept as sums and their slopes, the form in which small frequencies lose no digits (Reinsch's
// change of Clenshaw's recurrence).

#include "image/vector/wide_gaussian_loops.h"

namespace morva::vector::MORVA_ISA {

namespace {

constexpr std::size_t kTerms = CosineKernel::kTerms;

// Of each term, for a window about one sample.
struct WindowSums {
  Lanes sum[kTerms];
  Lanes slope[kTerms];
};

// Moves the windows to the next sample.
inline void advance(const CosineKernel& kernel, const Lanes& inside, const Lanes& entering,
                    WindowSums& window) {
  for (std::size_t t = 0; t < kTerms; ++t) {
    double* sum = window.sum[t].at;
    double* slope = window.slope[t].at;
    for (std::size_t l = 0; l < kLanes; ++l) {
      const double push = kernel.at_edge[t] * entering.at[l] - kernel.past_edge[t] * inside.at[l];
      slope[l] += push - kernel.curvature[t] * sum[l];
      sum[l] += slope[l];
    }
  }
}

inline void add_terms(const WindowSums& window, const LaneFloats& base, LaneFloats& out) {
  Lanes total = {};
  for (std::size_t t = 0; t < kTerms; ++t)
    for (std::size_t l = 0; l < kLanes; ++l) total.at[l] += window.sum[t].at[l];
  for (std::size_t l = 0; l < kLanes; ++l)
    out.at[l] = static_cast<float>(static_cast<double>(base.at[l]) + total.at[l]);
}

// Two samples added, relative to the first of the line, which makes all to its left 0.
inline void edge_pair(const LaneFloats* line, std::ptrdiff_t last, std::ptrdiff_t left,
                      std::ptrdiff_t right, Lanes& pair) {
  const float* before = line[left < 0 ? 0 : left].at;
  const float* after = line[right > last ? last : right].at;
  for (std::size_t l = 0; l < kLanes; ++l) {
    const double base = static_cast<double>(line[0].at[l]);
    pair.at[l] = (static_cast<double>(before[l]) - base) + (static_cast<double>(after[l]) - base);
  }
}

// The windows start where they hold nothing but the first sample and all sums are 0.
void filter(const LaneFloats* line, std::size_t n, std::size_t radius, const CosineKernel& kernel,
            LaneFloats* out) {
  const auto last = static_cast<std::ptrdiff_t>(n) - 1;
  const auto reach = static_cast<std::ptrdiff_t>(radius);
  WindowSums window = {};
  Lanes inside, entering;
  for (std::ptrdiff_t i = -reach; i <= last; ++i) {
    if (i >= 0) add_terms(window, line[0], out[i]);
    edge_pair(line, last, i - reach, i + reach, inside);
    edge_pair(line, last, i - reach - 1, i + reach + 1, entering);
    advance(kernel, inside, entering, window);
  }
}

}  // namespace

const WideGaussianLoops& wide_gaussian_loops() {
  static constexpr WideGaussianLoops loops = {filter};
  return loops;
}

}  // namespace morva::vector::MORVA_ISA
