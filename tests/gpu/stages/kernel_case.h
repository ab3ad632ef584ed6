// One harness for every kernel: a case runs a kernel through its wrapper and the stage's own CPU
// function on the same numbers, over awkward sizes, with whole launches and with launches cut into
// bands, and tells the largest error.
#pragma once

#include <cmath>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
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
  std::string name;  // the kernels that it is the test of, and what is special: "thresh, at 0"
  // Largest error allowed, in units in the last place of the largest number of the CPU's result; 0
  // holds every bit.
  double bound_ulp = 4.0;
  std::function<Compared(Device&, PixelSize)> run;
  // The same of each number in shares of itself, where results run over decades.
  double bound_relative = INFINITY;
};

using KernelCases = std::vector<KernelCase>;

// A bound for the device that the suite runs on: what was measured in software, about doubled, or
// what Vulkan allows a card. There exp2 and with it every power may be off by 3 + 2|x| ulp, log2 by
// 3 and near 1 by 2^-21, a division by 2.5, the cosine by 2^-11.
double bound_on(double in_software, double on_a_card);

inline KernelCase with_relative_bound(double bound, KernelCase one) {
  one.bound_relative = bound;
  return one;
}

// Each family of kernels with its cases.
KernelCases numeric_cases();  // blur, resize, sums, arithmetic of pixels
KernelCases optics_cases();   // lens and filters
KernelCases film_cases();     // emulsion, curves, print, scan
KernelCases grain_cases();
KernelCases process_cases();  // alternative processes
KernelCases view_cases();

// A picture of a size, the same at every call.
using Source = std::function<Image(PixelSize)>;

// What a side is handed beside its picture: another picture is uploaded for the GPU.
inline GImage on_gpu_side(Device& device, PixelSize size, const Source& picture) {
  return device.upload(picture(size));
}
inline Image on_cpu_side(PixelSize size, const Source& picture) {
  return picture(size);
}
template <class Value>
const Value& on_gpu_side(Device&, PixelSize, const Value& value) {
  return value;
}
template <class Value>
const Value& on_cpu_side(PixelSize, const Value& value) {
  return value;
}

// What a stage makes of a picture: what it returns, or the picture where it works in place.
template <class Picture, class Stage>
Picture result_of(Picture picture, const Stage& stage) {
  if constexpr (std::is_void_v<std::invoke_result_t<const Stage&, Picture&>>) {
    stage(picture);
    return picture;
  } else {
    return stage(picture);
  }
}

// The same source and whatever else a stage takes, through its kernel and through the CPU's stage,
// which may also take the picture alone.
template <class OnGpu, class OnCpu, class... More>
KernelCase stage_case(std::string name, double bound_ulp, Source source, OnGpu on_gpu, OnCpu on_cpu,
                      More... more) {
  return {std::move(name), bound_ulp, [=](Device& device, PixelSize size) {
            const GImage gpu = result_of(device.upload(source(size)), [&](GImage& picture) {
              return on_gpu(device, picture, on_gpu_side(device, size, more)...);
            });
            const Image cpu = result_of(source(size), [&](Image& picture) {
              if constexpr (std::is_invocable_v<const OnCpu&, Image&>)
                return on_cpu(picture);
              else
                return on_cpu(picture, on_cpu_side(size, more)...);
            });
            return Compared{device.download(gpu).data, cpu.data};
          }};
}

// Even noise in `low` .. `high`, the same for the same seed.
inline Image noise_picture(PixelSize size, int channels, float low, float high,
                           std::int64_t seed = 1) {
  Image picture(size.h, size.w, channels);
  Rng rng = rng_from_key({seed});
  for (float& x : picture.data) x = low + (high - low) * static_cast<float>(rng.uniform());
  return picture;
}
inline Source noise(int channels, float low, float high, std::int64_t seed = 1) {
  return [=](PixelSize size) { return noise_picture(size, channels, low, high, seed); };
}

// The same, here and there without end or no number at all.
inline Image spoilt(Image picture) {
  constexpr float none[] = {INFINITY, NAN, -INFINITY};
  for (std::size_t i = 11; i < picture.data.size(); i += 23) picture.data[i] = none[i % 3];
  return picture;
}
inline Source spoilt(Source source) {
  return [=](PixelSize size) { return spoilt(source(size)); };
}

inline KernelCases all_of(std::initializer_list<KernelCases> families) {
  KernelCases all;
  for (const KernelCases& family : families) all.insert(all.end(), family.begin(), family.end());
  return all;
}

}  // namespace morva::gpu
