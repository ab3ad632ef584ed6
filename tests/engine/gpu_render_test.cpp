// Renders on the GPU through the C interface, on the software device passed off as hardware:
// against the CPU's, against themselves, and through every loss and want of memory.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "engine/color_difference.h"
#include "engine/engine_state.h"
#include "engine/host.h"
#include "engine/maker.h"
#include "flow/flow.h"
#include "gpu/cost_model.h"
#include "gpu/disguised_platform.h"
#include "gpu/gpu_budget.h"
#include "gpu/test_hooks.h"

namespace morva {
namespace {

using gpu::cost_model;

constexpr std::int64_t kFarApartNs = 1'000'000'000'000;

class GpuRender : public ::testing::Test {
 protected:
  void SetUp() override {
    static gpu::DisguisedPlatform platform;
    disguise = &platform;
    engine_state().gpu.source = &platform;
    ASSERT_EQ(0, morva_profiles_load(MORVA_PROFILES_PATH, nullptr));
    start_afresh();
  }
  void TearDown() override {
    morva_set_profiling(0);
    morva_set_backend("cpu", nullptr);
    clear_hooks();
  }

  // A ready device and no memory of losses.
  void start_afresh() {
    clear_hooks();
    disguise->ahead_ns += kFarApartNs;
    MorvaError err;
    ASSERT_EQ(0, morva_set_backend("gpu", &err)) << err.message;
    if (state().lost) {
      ASSERT_EQ(0, morva_gpu_retry(&err)) << err.message;
    }
    morva_gpu_test_hook(7, 0);
  }
  static void clear_hooks() {
    morva_gpu_test_hook(0, 0);
    gpu::gpu_budget() = gpu::GpuBudget{};
    cost_model().ns_by_key.clear();
    cost_model().worst_ns.fill(0.0);
  }
  static MorvaGpuState state() {
    MorvaGpuState state;
    morva_gpu_state(&state);
    return state;
  }
  // The sheet of one backend. A press that dithers would turn the last bit of a tone into a dot.
  static Image sheet_of(const Scene& scene, const Json& options, const std::string& film_name,
                        const std::string& paper_name, gpu::GpuBackend* backend) {
    const Json film = maker().load("films", film_name);
    Json paper = load_positive(maker(), film, paper_name);
    if (paper.contains("dither")) paper["dither"] = false;
    Image input(scene.height, scene.width, 3);
    input.data = scene.pixels;
    RenderContext ctx;
    ctx.gpu = backend;
    return process(maker(), std::move(input), film, maker().load("lenses", "portrait_soft"), paper,
                   options, ctx);
  }

  gpu::DisguisedPlatform* disguise = nullptr;
};

struct Agreement {
  double most = 0.0;  // CIEDE2000
  double mean = 0.0;
};

Agreement agreement(const Image& a, const Image& b) {
  Agreement found;
  const std::size_t pixels = a.pixels();
  for (std::size_t i = 0; i < pixels; ++i) {
    const double difference = color_difference(&a.data[i * 3], &b.data[i * 3]);
    found.most = std::max(found.most, difference);
    found.mean += difference / static_cast<double>(pixels);
  }
  return found;
}

TEST_F(GpuRender, AgreesWithTheCpuForEveryFilmAndEveryPaper) {
  const Scene scene = wedge(400, 267);
  std::vector<std::pair<std::string, std::string>> pairs;
  for (const std::string& film : maker().list("films", true)) pairs.emplace_back(film, "");
  for (const std::string& paper : maker().list("papers", true))
    for (const char* film : {"everyday_400", "silver_125", "slide_50"})
      pairs.emplace_back(film, paper);
  const Json options = {
      {"grain_mult", 0}, {"repro_raster", "off"}, {"frame_style", "thin"}, {"border", 0.03}};
  gpu::Tract* backend = engine_state().gpu.backend.get();
  for (const auto& [film, paper] : pairs) {
    SCOPED_TRACE(film + " on " + paper);
    const Image cpu = sheet_of(scene, options, film, paper, nullptr);
    const Image gpu = sheet_of(scene, options, film, paper, backend);
    ASSERT_EQ(cpu.data.size(), gpu.data.size());
    const Agreement found = agreement(cpu, gpu);
    std::printf("%-20s %-18s dE2000 most %.4f mean %.6f\n", film.c_str(), paper.c_str(), found.most,
                found.mean);
    EXPECT_LE(found.most, 0.75);
    EXPECT_LE(found.mean, 0.05);
  }
}

TEST_F(GpuRender, TheSameRenderTwiceIsTheSameBytesWhateverWasLearned) {
  const Scene scene = wedge(300, 200);
  for (const char* film : {"everyday_400", "silver_400"}) {
    const Rendered first = render(scene, "{}", film, nullptr);
    ASSERT_EQ(0, first.code) << first.message;
    for (auto& [key, ns] : cost_model().ns_by_key) ns = 1e6;  // as if it had been terribly slow
    const Rendered second = render(scene, "{}", film, nullptr);
    EXPECT_TRUE(first.pixels == second.pixels) << film;
    EXPECT_FALSE(render(scene, R"({"seed": 9})", film, nullptr).pixels == first.pixels) << film;
    clear_hooks();
  }
}

TEST_F(GpuRender, AColourRenderCrossesTheBusOnceEachWay) {
  const Scene scene = wedge(800, 534);
  morva_set_profiling(1);
  ASSERT_EQ(0, render(scene, "{}", "everyday_400", nullptr).code);
  std::vector<char> text(static_cast<std::size_t>(morva_profile_report(nullptr, 0)) + 1);
  morva_profile_report(text.data(), static_cast<int32_t>(text.size()));
  const std::string report = text.data();
  std::printf("%s", report.c_str());
  EXPECT_TRUE(report.starts_with("everyday_400 → по умолчанию: кадр ")) << report;
  EXPECT_NE(std::string::npos, report.find("кадровых загрузок 1, выгрузок 1 ")) << report;

  morva_set_profiling(0);
  ASSERT_EQ(0, render(scene, "{}", "everyday_400", "color_gloss").code);
  morva_set_backend("cpu", nullptr);
  morva_set_profiling(1);
  ASSERT_EQ(0, render(Scene(8, 8, 0.2f), "{}", "everyday_400", nullptr).code);
  morva_profile_report(text.data(), static_cast<int32_t>(text.size()));
  EXPECT_EQ(report, text.data());
}

// A small picture whose road touches most kernels.
constexpr const char* kShort = R"({"grain_engine": "classic", "frame_style": "thin"})";

TEST_F(GpuRender, ALossAtAnyDispatchIsMendedUnseen) {
  const Scene scene = wedge(24, 16);
  const Rendered whole = render(scene, kShort, "everyday_400", nullptr);
  ASSERT_EQ(0, whole.code) << whole.message;
  const std::uint32_t generation = morva_gpu_generation();
  std::uint32_t losses = 0;
  // Every third dispatch: making a device anew takes most of a second here.
  for (int at = 1;; at += 3) {
    start_afresh();
    morva_gpu_test_hook(1, at);
    const Rendered mended = render(scene, kShort, "everyday_400", nullptr);
    ASSERT_EQ(0, mended.code) << at << ": " << mended.message;
    EXPECT_TRUE(whole.pixels == mended.pixels) << at;
    if (gpu::test_hooks().remove_at != 0) break;  // past the last dispatch
    ++losses;
    EXPECT_EQ(generation + losses, morva_gpu_generation());
    const MorvaGpuState after = state();
    EXPECT_EQ(1u, after.recoveries);
    EXPECT_EQ(std::uint32_t{MORVA_LOSS_REMOVED}, after.reason);
    EXPECT_NE(nullptr, std::strstr(after.report, "причина: DEVICE_REMOVED")) << after.report;
    EXPECT_EQ(0u, state().recoveries);
  }
  EXPECT_GT(losses, 10u);
}

TEST_F(GpuRender, ASecondLossGivesTheGpuUpUntilARetry) {
  const Scene scene = wedge(24, 16);
  for (const std::int64_t seconds : {119, 121}) {
    start_afresh();
    morva_gpu_test_hook(1, 5);
    ASSERT_EQ(0, render(scene, kShort, "everyday_400", nullptr).code);
    disguise->ahead_ns += seconds * 1'000'000'000;
    morva_gpu_test_hook(1, 5);
    const Rendered second = render(scene, kShort, "everyday_400", nullptr);
    EXPECT_EQ(seconds > 120 ? 0 : 7, second.code);
    if (second.code == 0) continue;
    EXPECT_EQ("видеокарта перестала отвечать: DEVICE_REMOVED", second.message);
    EXPECT_TRUE(second.empty);
    EXPECT_EQ(1u, state().lost);
    EXPECT_EQ(7, render(scene, kShort, "everyday_400", nullptr).code);
    ASSERT_EQ(0, morva_gpu_retry(nullptr));
    EXPECT_EQ(0u, state().lost);
    EXPECT_EQ(0, render(scene, kShort, "everyday_400", nullptr).code);
  }
}

TEST_F(GpuRender, WantOfMemoryAtAnyAllocationIsAPictureOrSevenAndNeverALoss) {
  const Scene scene = wedge(24, 16);
  const Rendered whole = render(scene, kShort, "everyday_400", nullptr);
  const std::uint32_t generation = morva_gpu_generation();
  for (const std::uint32_t kind : {4u, 8u}) {  // once, and from then on
    for (int at = 1;; ++at) {
      morva_set_backend("gpu-warp", nullptr);  // a new device, whose pool is empty
      morva_set_backend("gpu", nullptr);
      clear_hooks();
      morva_gpu_test_hook(kind, at);
      const Rendered hungry = render(scene, kShort, "everyday_400", nullptr);
      const bool failed = morva_gpu_test_hook(9, 0) >= at;
      if (hungry.code == 0) {
        EXPECT_TRUE(whole.pixels == hungry.pixels) << at;
      } else {
        EXPECT_EQ(7, hungry.code) << at << ": " << hungry.message;
        EXPECT_EQ("видеокарта перестала отвечать: OUT_OF_MEMORY", hungry.message);
        EXPECT_GT(state().requested_bytes, 0u);
      }
      EXPECT_EQ(0u, state().lost);
      EXPECT_EQ(generation, morva_gpu_generation());
      EXPECT_TRUE(kind == 8 || hungry.code == 0) << at;  // the pool's second try passes
      clear_hooks();
      EXPECT_EQ(0, render(Scene(8, 8, 0.2f), kShort, "everyday_400", nullptr).code) << at;
      if (!failed) break;
      if (kind == 8 && at > 3) at += 7;
    }
  }
}

TEST_F(GpuRender, AnExceptionInTheMiddleOfAListIsAnErrorAndTheNextRenderWorks) {
  const Scene scene = wedge(24, 16);
  const Rendered whole = render(scene, kShort, "everyday_400", nullptr);
  for (const int at : {1, 9, 30}) {
    morva_gpu_test_hook(2, at);
    const Rendered broken = render(scene, kShort, "everyday_400", nullptr);
    EXPECT_EQ(5, broken.code);
    EXPECT_EQ("тестовый крючок: исключение посреди записи", broken.message);
    EXPECT_TRUE(render(scene, kShort, "everyday_400", nullptr).pixels == whole.pixels);
  }
  EXPECT_EQ(3, render(scene, R"({"nonsense": 1})", "everyday_400", nullptr).code);
  int32_t cancel = 1;
  EXPECT_EQ(6, render(scene, kShort, "everyday_400", nullptr, &cancel).code);
  EXPECT_TRUE(render(scene, kShort, "everyday_400", nullptr).pixels == whole.pixels);
}

TEST_F(GpuRender, AHostMayAskFromOtherThreadsWhileItRenders) {
  const Scene scene = wedge(96, 64);
  std::atomic<bool> done = false;
  std::thread watchdog([&] {
    while (!done) {
      MorvaGpuStats stats;
      morva_gpu_stats(&stats);
      char text[512];
      morva_backend_name(text, sizeof text);
      morva_profile_report(text, sizeof text);
      state();
      morva_gpu_generation();
    }
  });
  morva_set_profiling(1);
  for (const char* film : {"everyday_400", "silver_125"})
    EXPECT_EQ(0, render(scene, "{}", film, nullptr).code);
  done = true;
  watchdog.join();
  MorvaGpuStats stats;
  morva_gpu_stats(&stats);
  EXPECT_GT(stats.submits, 0u);
  EXPECT_STRNE("", stats.longest_dispatch);
}

TEST_F(GpuRender, NamesStatesAndNullsAreAnsweredPlainly) {
  MorvaError err;
  EXPECT_EQ(1, morva_set_backend("cuda", &err));
  EXPECT_STREQ("бэкенд: cpu | gpu | gpu-warp, а не «cuda»", err.message);
  char name[64];
  morva_backend_name(name, sizeof name);
  EXPECT_EQ(0, std::strncmp("DX12 ", name, 5));
  EXPECT_EQ(1, morva_gpu_probe(nullptr));
  MorvaGpuProbe probe;
  EXPECT_EQ(0, morva_gpu_probe(&probe));
  EXPECT_EQ(0, probe.status) << probe.error;
  EXPECT_STRNE("", probe.adapters);
  EXPECT_EQ(0, morva_set_backend(nullptr, nullptr));
  morva_backend_name(name, sizeof name);
  EXPECT_STREQ("CPU", name);
  EXPECT_EQ(0, morva_gpu_test_hook(11, 1));
  morva_release_gpu();
  EXPECT_EQ(0, morva_gpu_retry(nullptr));
  morva_gpu_state(nullptr);
  morva_gpu_stats(nullptr);
  EXPECT_EQ(0, morva_gpu_debug_messages(name, sizeof name));
}

}  // namespace
}  // namespace morva
