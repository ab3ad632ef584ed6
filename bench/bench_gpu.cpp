// A default colour render on the GPU: the best of five after a warm-up, its report, and what a
// plain copy of the same picture reaches on the same device.
//
// bench_gpu [gpu|gpu-warp] [megapixels]

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "gpu/device.h"
#include "gpu/platform/vulkan_platform.h"
#include "morva.h"
#include "painted_picture.h"

namespace {

void require(int32_t code, const MorvaError& err) {
  if (code == MORVA_OK) return;
  std::fprintf(stderr, "bench_gpu: %s\n", err.message);
  std::exit(1);
}

double seconds_of_render(const std::vector<float>& rgb, Size size) {
  MorvaImage out;
  MorvaError err;
  const auto start = std::chrono::steady_clock::now();
  require(morva_render(rgb.data(), size.width, size.height, "", "everyday_400", "plain",
                       "color_gloss", &out, &err),
          err);
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  morva_free(&out);
  return taken.count();
}

// Bytes read and written a second by the plainest kernel, by its own timestamps.
double copy_bytes_per_s(bool software, Size size) {
  using namespace morva::gpu;
  Device device(software, platform::vulkan_platform());
  const auto count = static_cast<std::uint32_t>(size.width) * size.height * 3;
  const auto from = device.alloc(count);
  const auto to = device.alloc(count);
  const LaunchGrid launch = grid(count);
  for (int i = 0; i < 6; ++i) {
    if (i == 1) device.reset_stats();
    device.dispatch(Kernel::copy_main, launch.groups_x, launch.groups_y, {count}, {},
                    {from.get(), nullptr, to.get()});
    device.submit();
  }
  return 5.0 * 2.0 * 4.0 * count / (device.stats().gpu_ms_by_name.at("copy_main") * 1e-3);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string backend = argc > 1 ? argv[1] : "gpu";
  const double megapixels = argc > 2 ? std::atof(argv[2]) : 24.0;
  const int height = static_cast<int>(std::lround(std::sqrt(megapixels * 1e6 / 1.5)));
  const Size size = {height * 3 / 2, height};
  MorvaError err;
  require(morva_set_backend(backend.c_str(), &err), err);
  char name[512];
  morva_backend_name(name, sizeof name);
  std::printf("%s, %d x %d\n", name, size.width, size.height);

  const std::vector<float> rgb = painted(size);
  double best = seconds_of_render(rgb, size);
  std::printf("first render %.2f s\n", best);
  for (int i = 0; i < 4; ++i) best = std::min(best, seconds_of_render(rgb, size));
  morva_set_profiling(1);
  best = std::min(best, seconds_of_render(rgb, size));
  std::printf("best of five %.3f s, %.0f megapixels a second\n", best,
              size.width * 1e-6 * size.height / best);
  std::string report(static_cast<std::size_t>(morva_profile_report(nullptr, 0)) + 1, '\0');
  morva_profile_report(report.data(), static_cast<int32_t>(report.size()));
  std::printf("%s", report.c_str());
  morva_release_gpu();
  std::printf("a copy: %.1f GB/s\n", copy_bytes_per_s(backend != "gpu", size) * 1e-9);
  return 0;
}
