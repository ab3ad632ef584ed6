// Whole renders at several sizes: seconds, and the peak memory of the process against the picture's
// size. The peak counts everything: the host's own picture, the engine's copy of it, and all
// stages.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "morva.h"
#include "painted_picture.h"

namespace {

double seconds_of_render(Size size, const char* film, const char* paper, const char* options) {
  const std::vector<float> rgb = painted(size);
  MorvaImage out;
  MorvaError err;
  const auto start = std::chrono::steady_clock::now();
  if (morva_render(rgb.data(), size.width, size.height, options, film, "plain", paper, &out,
                   &err) != MORVA_OK) {
    std::fprintf(stderr, "bench_render: %s\n", err.message);
    std::exit(1);
  }
  const auto end = std::chrono::steady_clock::now();
  morva_free(&out);
  return std::chrono::duration<double>(end - start).count();
}

// In a process of its own, so that each case has a peak of its own.
void measure(Size size, const char* film, const char* paper, const char* options) {
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    const double seconds = seconds_of_render(size, film, paper, options);
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    const double picture_mb = size.width * 12e-6 * size.height;
    const double peak_mb = static_cast<double>(usage.ru_maxrss) * 1024e-6;
    std::printf("%5d x %-5d %-14s %-12s %8.2f s %9.0f MB %7.2f pictures of %.0f MB\n", size.width,
                size.height, film, paper, seconds, peak_mb, peak_mb / picture_mb, picture_mb);
    std::exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (status != 0) std::exit(1);
}

}  // namespace

int main() {
  std::printf("%-13s %-14s %-12s %10s %12s %s\n", "size", "film", "paper", "time", "peak", "");
  for (const Size size : {Size{1500, 1000}, Size{3000, 2000}, Size{6000, 4000}}) {
    measure(size, "everyday_400", "color_gloss", "");
    measure(size, "silver_400", "bw_neutral", "");
  }
  measure(
      {6000, 4000}, "everyday_400", "color_gloss",
      R"({"filter_diffusion": "mist_dense", "filter_grad": "grad_soft", "wb_temp": 20, "border": 0.05})");
  return 0;
}
