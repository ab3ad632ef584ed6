// What each paper's run through a printer, a press or a tube costs on a picture of 6 megapixels,
// and what its surface does; then how fast colours are separated. One thread; each figure is
// processor time, the best of three. Profiles are those that the folder holds.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "flow/options.h"
#include "image/vector/isa.h"
#include "profiles/seeds.h"
#include "profiles/store.h"
#include "repro/print_surface.h"
#include "repro/repro.h"
#include "repro/separation.h"

namespace {

using namespace morva;

constexpr int kWidth = 3000;
constexpr int kHeight = 2000;
constexpr double kPrintPxUm = 100.0;  // a sheet of 30 by 20 cm

Image painted() {
  Image print(kHeight, kWidth, 3);
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x)
      for (int k = 0; k < 3; ++k) {
        const double wave = std::sin(40.0 * x / kWidth + k) * std::cos(30.0 * y / kWidth);
        print.at(y, x, k) = static_cast<float>(0.18 * std::exp2(2.4 * wave));
      }
  return print;
}

double best_seconds(const std::function<void()>& run) {
  double best = HUGE_VAL;
  for (int i = 0; i < 3; ++i) {
    const std::clock_t start = std::clock();
    run();
    best = std::min(best, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
  }
  return best;
}

void papers(const ProfileStore& store, const Image& print) {
  const Json options = merged_options(Json());
  RenderContext ctx;
  for (const std::string& name : store.list("papers", true)) {
    const Json paper = store.load("papers", name);
    const std::string repro = get_text(paper, "repro", "");
    if (!repro.empty()) {
      const double seconds = best_seconds([&] {
        Rng rng = seeded_rng(options, kPrintStream);
        repro_stage(print, paper, options, kPrintPxUm, rng, ctx);
      });
      std::printf("%-28s %-16s %7.2f s\n", repro.c_str(), name.c_str(), seconds);
    }
    if (!get_object(paper, "surface").empty()) {
      const double seconds = best_seconds([&] {
        Rng rng = seeded_rng(options, kPrintStream);
        repro_surface(print, paper, options, kPrintPxUm, rng);
      });
      std::printf("%-28s %-16s %7.2f s\n", "surface", name.c_str(), seconds);
    }
  }
}

void separation(const Image& print) {
  const SeparationPlan plan = {ink_set("offset_coated"), 0.75, 3.0, {0.16, 0.85}};
  const std::size_t n = print.pixels();
  std::vector<float> c(n), m(n), y(n), k(n);
  float* const planes[kInks] = {c.data(), m.data(), y.data(), k.data()};
  const char* const sets[] = {"baseline", "avx2", "avx512"};
  for (int isa = 0; isa <= static_cast<int>(vector::best_isa()); ++isa) {
    vector::use_isa(static_cast<vector::Isa>(isa));
    const double seconds = best_seconds([&] { separate(print.data.data(), n, plan, planes); });
    std::printf("%-28s %-16s %7.1f megapixels/s\n", "separation", sets[isa],
                static_cast<double>(n) * 1e-6 / seconds);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const ProfileStore store(argc > 1 ? argv[1] : find_profiles_dir());
  const Image print = painted();
  std::printf("%d x %d, %g um to a pixel\n", kWidth, kHeight, kPrintPxUm);
  papers(store, print);
  separation(print);
  return 0;
}
