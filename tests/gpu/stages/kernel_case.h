// One harness for every kernel: a case runs a kernel through its wrapper and the stage's own CPU
// function on the same numbers, over awkward sizes, with whole launches and with launches cut into
// bands, and tells the largest error.
#pragma once

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "gpu/device.h"
#include "gpu/kernel_table.h"
#include "image/image.h"
#include "image/pixel_size.h"
#include "image/random.h"

namespace morva::gpu {

struct Compared {
  std::vector<float> gpu;
  std::vector<float> cpu;
};

struct KernelCase {
  std::string name;             // kernel, and what is special: "gauss_row, wraps round"
  std::vector<Kernel> kernels;  // that this case is the test of
  // Largest error allowed, in units in the last place of the largest number of the CPU's result; 0
  // holds every bit.
  double bound_ulp = 4.0;
  std::function<Compared(Device&, PixelSize)> run;
  // The same of each number in shares of itself, where results run over decades.
  double bound_relative = INFINITY;
};

// A bound for the device that the suite runs on: what was measured in software, about doubled, or
// what Vulkan allows a card. There exp2 and with it every power may be off by 3 + 2|x| ulp, log2 by
// 3 and near 1 by 2^-21, a division by 2.5, the cosine by 2^-11.
double bound_on(double in_software, double on_a_card);

inline KernelCase with_relative_bound(double bound, KernelCase one) {
  one.bound_relative = bound;
  return one;
}

// Each family of kernels with its cases.
std::vector<KernelCase> numeric_cases();  // blur, resize, sums, arithmetic of pixels
std::vector<KernelCase> optics_cases();   // lens and filters
std::vector<KernelCase> film_cases();     // emulsion, curves, print, scan
std::vector<KernelCase> grain_cases();
std::vector<KernelCase> process_cases();  // alternative processes
std::vector<KernelCase> view_cases();

// Even noise in `low` .. `high`, the same for the same seed.
inline Image noise_picture(PixelSize size, int channels, float low, float high,
                           std::int64_t seed = 1) {
  Image picture(size.h, size.w, channels);
  Rng rng = rng_from_key({seed});
  for (float& x : picture.data) x = low + (high - low) * static_cast<float>(rng.uniform());
  return picture;
}

// The same, here and there without end or no number at all.
inline Image spoilt(Image picture) {
  constexpr float none[] = {INFINITY, NAN, -INFINITY};
  for (std::size_t i = 11; i < picture.data.size(); i += 23) picture.data[i] = none[i % 3];
  return picture;
}

}  // namespace morva::gpu
