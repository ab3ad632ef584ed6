// Renders on the GPU through the C interface, on the software device passed off as hardware:
// against the CPU's, against themselves, and through every loss and want of memory.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <sstream>
#include <thread>

#include "engine/gpu_host.h"
#include "flow/flow.h"
#include "gpu/driver_suppressions.h"
#include "gpu/test_hooks.h"

namespace morva {
namespace {

// A sanitizer makes everything many times slower: it sees the same code with fewer pictures.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kWidth = 96;
constexpr int kStep = 7;
constexpr std::size_t kPairStep = 5;
#else
constexpr int kWidth = 400;
constexpr int kStep = 1;
constexpr std::size_t kPairStep = 1;
#endif

// A sanitizer can name the layer that lost memory only while the layer is loaded.
void keep_debug_layer_loaded(gpu::platform::Platform& platform) {
  static gpu::platform::Factory* const kept = [&] {
    std::unique_ptr<gpu::platform::Factory> factory;
    EXPECT_TRUE(platform.enable_debug_layer().ok());
    EXPECT_TRUE(platform.create_factory(&factory).ok());
    return factory.release();
  }();
  EXPECT_NE(nullptr, kept);
}

class GpuRender : public GpuHostTest {
 protected:
  void SetUp() override {
    setenv("MORVA_DX12_DEBUG", "1", 1);
    keep_debug_layer_loaded(platform());
    GpuHostTest::SetUp();
  }
  void TearDown() override {
    unsetenv("MORVA_DX12_DEBUG");
    std::vector<char> complaints(1 << 16);
    EXPECT_EQ(0, morva_gpu_debug_messages(complaints.data(), 1 << 16)) << complaints.data();
    morva_set_profiling(0);
    GpuHostTest::TearDown();
  }

  // The last render's report.
  static std::string report() {
    std::vector<char> text(static_cast<std::size_t>(morva_profile_report(nullptr, 0)) + 1);
    morva_profile_report(text.data(), static_cast<int32_t>(text.size()));
    return text.data();
  }
};

// The sheet of one backend. A press that dithers would turn the last bit of a tone into a dot.
Image sheet_of(const Scene& scene, const Json& options, const std::string& film_name,
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

// CIELAB of linear Rec. 709 under D65.
std::array<double, 3> lab_of(const float* rgb) {
  const auto curve = [rgb](double r, double g, double b) {
    const double t = r * rgb[0] + g * rgb[1] + b * rgb[2];
    return t > 216.0 / 24389.0 ? std::cbrt(t) : (24389.0 / 27.0 * t + 16.0) / 116.0;
  };
  const double x = curve(0.4124 / 0.9505, 0.3576 / 0.9505, 0.1805 / 0.9505);
  const double y = curve(0.2126, 0.7152, 0.0722);
  const double z = curve(0.0193 / 1.0891, 0.1192 / 1.0891, 0.9505 / 1.0891);
  return {116.0 * y - 16.0, 500.0 * (x - y), 200.0 * (y - z)};
}

// Distances in CIELAB, of which CIEDE2000 is one and a half at the most: 0.75, 0.05 on the mean.
void expect_alike(const Scene& scene, const Json& options, const std::string& film,
                  const std::string& paper) {
  SCOPED_TRACE(film + " on " + paper + " " + options.dump());
  const Image cpu = sheet_of(scene, options, film, paper, nullptr);
  const Image gpu = sheet_of(scene, options, film, paper, engine_state().gpu.backend.get());
  ASSERT_EQ(std::pair(cpu.w, cpu.h), std::pair(gpu.w, gpu.h));
  double most = 0.0, sum = 0.0;
  for (std::size_t i = 0; i < cpu.data.size(); i += 3) {
    const auto a = lab_of(&cpu.data[i]), b = lab_of(&gpu.data[i]);
    const double distance = std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
    most = std::max(most, distance);
    sum += distance;
  }
  const double mean = sum / static_cast<double>(cpu.pixels());
  std::printf("%-20s %-18s dE most %.4f mean %.6f %s\n", film.c_str(), paper.c_str(), most, mean,
              options.dump().c_str());
  EXPECT_LE(most, 0.5);
  EXPECT_LE(mean, 0.033);
}

TEST_F(GpuRender, AgreesWithTheCpuForEveryFilmAndEveryPaper) {
  std::vector<std::pair<std::string, std::string>> pairs;
  for (const std::string& film : maker().list("films", true)) pairs.emplace_back(film, "");
  for (const std::string& paper : maker().list("papers", true))
    for (const char* film : {"everyday_400", "silver_125", "slide_50"})
      pairs.emplace_back(film, paper);
  const Json options = {
      {"grain_mult", 0}, {"repro_raster", "off"}, {"frame_style", "thin"}, {"border", 0.03}};
  for (std::size_t i = 0; i < pairs.size(); i += kPairStep)
    expect_alike(wedge(kWidth, kWidth * 2 / 3), options, pairs[i].first, pairs[i].second);
}

// One thing of each kind that a photographer or a printer may ask for.
TEST_F(GpuRender, AgreesWithTheCpuWhateverIsAskedFor) {
  const Json wishes[] = {
      {{"crop", {0.1, 0.05, 0.9, 0.95}},
       {"crop_angle", 3.0},
       {"rotate", 90},
       {"mirror", true},
       {"_source_gain", 1.7}},
      {{"_source_gain", 0.4}, {"wb_temp", 30}, {"wb_tint", -20}},
      {{"instant_frame", false}, {"frame_style", "wide"}},
      {{"filter_grad", "grad_sunset"}, {"grad_angle", 20}},
      {{"filter_rays", "star_four"}},
      {{"filter_cut", "orange"}, {"filter_diffusion", "mist_dense"}},
      {{"dev_uneven", 1}, {"push", 1.5}},
      {{"expired_years", 15}},
      {{"mat", "double"}, {"table", "linen"}, {"stamp_text", "M"}, {"border", 0.05}},
  };
  const auto ask = [](Json options, const char* film, const char* paper = "",
                      const Scene& scene = wedge(160, 107)) {
    options["grain_mult"] = 0;
    expect_alike(scene, options, film, paper);
  };
  for (const Json& wish : wishes)
    for (const char* film : {"everyday_400", "silver_125", "instant_square"}) ask(wish, film);
  ask({{"redscale", true}}, "everyday_400");
  ask({{"border_black", true}, {"border", 0.04}}, "everyday_400", "color_scan");
  ask({{"format", "half"}}, "everyday_400", "", wedge(4800, 12));  // finer than the film
}

TEST_F(GpuRender, TheSameRenderTwiceIsTheSameBytesWhateverWasLearned) {
  const Scene scene = wedge(300, 200);
  for (const char* film : {"everyday_400", "silver_400"}) {
    const Rendered first = render(scene, "{}", film);
    ASSERT_EQ(0, first.code) << first.message;
    // As if it had been terribly slow.
    for (auto& [key, ns] : gpu::cost_model().ns_by_key) ns = 1e6;
    EXPECT_TRUE(first.pixels == render(scene, "{}", film).pixels) << film;
    EXPECT_FALSE(first.pixels == render(scene, R"({"seed": 9})", film).pixels) << film;
    clear_hooks();
  }
}

TEST_F(GpuRender, AColourRenderCrossesTheBusOnceEachWay) {
  const Scene scene = wedge(800, 534);
  morva_set_profiling(1);
  ASSERT_EQ(0, render(scene, "{}", "everyday_400").code);
  const std::string first = report();
  std::printf("%s", first.c_str());
  EXPECT_TRUE(first.starts_with("everyday_400 → по умолчанию: кадр ")) << first;
  EXPECT_NE(std::string::npos, first.find("кадровых загрузок 1, выгрузок 1 ")) << first;

  morva_set_profiling(0);
  ASSERT_EQ(0, render(scene, "{}", "everyday_400", "color_gloss").code);
  morva_set_backend("cpu", nullptr);
  morva_set_profiling(1);
  ASSERT_EQ(0, render(Scene(8, 8, 0.2f), "{}", "everyday_400").code);
  EXPECT_EQ(first, report());
}

// The labels of a report's table of stages.
std::set<std::string> stages_of(const std::string& report) {
  std::set<std::string> stages;
  std::istringstream lines(report.substr(report.find("| стадия |")));
  std::string line;
  std::getline(lines, line);
  std::getline(lines, line);
  while (std::getline(lines, line) && !line.starts_with("  | кернел |"))
    stages.insert(line.substr(4, line.find(" |", 4) - 4));
  return stages;
}

TEST_F(GpuRender, EveryStageThatRanHasItsRowInTheReport) {
  const std::set<std::string> always = {
      "вход: кроп и ориентация (CPU)", "загрузка кадра на GPU",
      "мастер-растр, фильтры, оптика", "кайма (план CPU), поле бачка (CPU)",
      "эмульсия (мутность, галация)",  "скан, окно держателя",
      "выгрузка кадра с GPU",
  };
  const struct {
    const char *film, *paper;
    std::set<std::string> stages;
  } roads[] = {
      {"everyday_400",
       "color_gloss",
       {"негатив (кривые, соседство)", "морва", "печать", "оформление (CPU)"}},
      {"silver_125",
       "gum",
       {"негатив (кривые, соседство)", "морва", "альт-печать", "оформление (CPU)"}},
      {"instant_square", "color_scan", {"карточка и оформление (CPU)"}},
  };
  morva_set_profiling(1);
  for (const auto& road : roads) {
    ASSERT_EQ(0, render(wedge(48, 32), "{}", road.film, road.paper).code);
    std::set<std::string> expected = road.stages;
    expected.insert(always.begin(), always.end());
    EXPECT_EQ(expected, stages_of(report())) << road.film;
  }
}

// A short road that touches most kinds of stages.
constexpr const char* kShort = R"({"frame_style": "thin", "filter_diffusion": "mist_light"})";

TEST_F(GpuRender, ALossAtAnyDispatchIsMendedUnseen) {
  const Scene scene = wedge(24, 16);
  for (const auto& [film, paper] :
       {std::pair{"everyday_400", "color_gloss"}, {"silver_400", "gum"}}) {
    start_afresh();
    const Rendered whole = render(scene, kShort, film, paper);
    ASSERT_EQ(0, whole.code) << whole.message;
    const std::uint32_t generation = morva_gpu_generation();
    std::uint32_t losses = 0;
    for (int at = 1;; at += kStep) {
      start_afresh();
      morva_gpu_test_hook(1, at);
      const Rendered mended = render(scene, kShort, film, paper);
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
    std::printf("%s on %s: %u dispatches lost\n", film, paper, losses);
    EXPECT_GT(losses * kStep, 20u);
  }
}

TEST_F(GpuRender, ASecondLossGivesTheGpuUpUntilARetry) {
  const Scene scene = wedge(24, 16);
  morva_gpu_test_hook(1, 5);
  ASSERT_EQ(0, render(scene, kShort, "everyday_400").code);
  morva_gpu_test_hook(1, 5);
  const Rendered second = render(scene, kShort, "everyday_400");
  EXPECT_EQ(7, second.code);
  EXPECT_EQ("видеокарта перестала отвечать: DEVICE_REMOVED", second.message);
  EXPECT_TRUE(second.empty);
  EXPECT_EQ(1u, state().lost);
  EXPECT_EQ(7, render(scene, kShort, "everyday_400").code);
  ASSERT_EQ(0, morva_gpu_retry(nullptr));
  EXPECT_EQ(0u, state().lost);
  EXPECT_EQ(0, render(scene, kShort, "everyday_400").code);
}

TEST_F(GpuRender, WantOfMemoryAtAnyAllocationIsAPictureOrSevenAndNeverALoss) {
  const Scene scene = wedge(24, 16);
  const Rendered whole = render(scene, kShort, "everyday_400");
  const std::uint32_t generation = morva_gpu_generation();
  for (const std::uint32_t kind : {4u, 8u}) {  // once, and from then on
    for (int at = 1;; at += kStep) {
      morva_set_backend("gpu-warp", nullptr);  // a new device, whose pool is empty
      morva_set_backend("gpu", nullptr);
      clear_hooks();
      morva_gpu_test_hook(kind, at);
      const Rendered hungry = render(scene, kShort, "everyday_400");
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
      EXPECT_EQ(0, render(Scene(8, 8, 0.2f), kShort, "everyday_400").code) << at;
      if (!failed) break;
    }
  }
}

TEST_F(GpuRender, AnExceptionInTheMiddleOfAListIsAnErrorAndTheNextRenderWorks) {
  const Scene scene = wedge(24, 16);
  const Rendered whole = render(scene, kShort, "everyday_400");
  for (const int at : {1, 9, 30}) {
    morva_gpu_test_hook(2, at);
    const Rendered broken = render(scene, kShort, "everyday_400");
    EXPECT_EQ(5, broken.code);
    EXPECT_EQ("тестовый крючок: исключение посреди записи", broken.message);
    EXPECT_TRUE(render(scene, kShort, "everyday_400").pixels == whole.pixels);
  }
  const int32_t cancel = 1;
  EXPECT_EQ(6, render(scene, kShort, "everyday_400", "", &cancel).code);
  EXPECT_TRUE(render(scene, kShort, "everyday_400").pixels == whole.pixels);
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
      morva_gpu_test_hook(7, 0);
      morva_set_profiling(1);
      EXPECT_EQ(0, morva_gpu_debug_messages(text, sizeof text)) << text;  // waits for the render
    }
  });
  morva_set_profiling(1);
  for (const char* film : {"everyday_400", "silver_125"})
    EXPECT_EQ(0, render(scene, "{}", film).code);
  done = true;
  watchdog.join();
  MorvaGpuStats stats;
  morva_gpu_stats(&stats);
  EXPECT_GT(stats.submits, 0u);
  EXPECT_STRNE("", stats.longest_dispatch);
}

TEST_F(GpuRender, NamesStatesAndNullsAreAnsweredPlainly) {
  MorvaError err;
  EXPECT_EQ(1, morva_set_backend("gpu9", &err));
  EXPECT_STREQ("бэкенд: cpu | gpu | gpu-warp, а не «gpu9»", err.message);
  char name[64];
  morva_backend_name(name, sizeof name);
  EXPECT_TRUE(std::string(name).starts_with("DX12 ")) << name;
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
  EXPECT_EQ(1, morva_gpu_probe(nullptr));
  morva_gpu_state(nullptr);
  morva_gpu_stats(nullptr);
}

}  // namespace
}  // namespace morva
