// Questions before a render: each answer is held against the render itself.

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <tuple>

#include "engine/host.h"
#include "engine/plan_queries.h"
#include "film/growth_grain.h"
#include "flow/options.h"
#include "image/pixel_size.h"
#include "image/random.h"
#include "profiles/json_access.h"

namespace morva {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kSettings = 300;
#else
constexpr int kSettings = 3000;
#endif

class Plan : public HostTest {};

Answer output_size(const std::string& options, const std::string& film, const std::string& paper,
                   int width, int height) {
  Answer asked;
  MorvaError err;
  asked.code = morva_output_size(options.c_str(), film.c_str(), paper.c_str(), width, height,
                                 &asked.width, &asked.height, &err);
  asked.message = err.message;
  return asked;
}

// One of a few values, most often the first, which is the default.
class Dice {
 public:
  explicit Dice(std::int64_t seed) : rng_(rng_from_key({seed})) {}

  const Json& of(const Json& values) {
    const double u = rng_.uniform();
    if (u < 0.5) return values[0];
    return values[static_cast<std::size_t>((u - 0.5) * 2.0 * static_cast<double>(values.size()))];
  }
  const std::string& of(const std::vector<std::string>& names) {
    return names[static_cast<std::size_t>(rng_.uniform() * static_cast<double>(names.size()))];
  }
  // Small ones more often, so that the many renders stay short.
  int side() {
    const double u = rng_.uniform();
    return 1 + static_cast<int>(u * u * u * 400.0);
  }
  // Now and then a sliver as long as masters and scans are capped.
  PixelSize picture() {
    if (rng_.uniform() > 0.007) return {side(), side()};
    const int length = 2500 + static_cast<int>(rng_.uniform() * 7000.0);
    const int breadth = 1 + static_cast<int>(rng_.uniform() * 4.0);
    return rng_.uniform() < 0.5 ? PixelSize{length, breadth} : PixelSize{breadth, length};
  }

 private:
  Rng rng_;
};

Json random_setting(Dice& dice) {
  const Json choices = {
      {"format", {nullptr, "135", "120", "half", "4x5", "plate", "super8"}},
      {"frame_size", {nullptr, "full", "6x9", "645", "custom", "xpan", "8x10", "quarter_plate"}},
      {"format_120_cm", {6, 7, 9}},
      {"frame_style", {"none", "thin", "wide", "ragged"}},
      {"frame", {0, 0.05, 0.002}},
      {"crop", {nullptr, {0.1, 0.2, 0.5, 0.6}, {0, 0, 1, 0.4}, {0.9, 0.9, 0.4, 0.4}}},
      {"crop_gate", {"full", "texture", "fill"}},
      {"crop_angle", {0, 7.5, -40}},
      {"rotate", {0, 90, 180, -90, 44, 46}},
      {"mirror", {false, true}},
      {"master_cap", {true, false}},
      {"mat", {nullptr, "classic", "double", "emboss", "french", "none"}},
      {"mat_width_cm", {2, 0.01, 3.3}},
      {"mat_bottom_weight", {1.12, 1, 2}},
      {"table", {nullptr, "linen", "walnut", "none"}},
      {"table_width_cm", {1, 0.4}},
      {"border", {0, 0.05, 0.1, -1}},
      {"border_black", {false, true}},
      {"sheet_cm", {nullptr, 18, 40}},
      {"print_cm", {30, 12, 61}},
      {"instant_frame", {true, false}},
      {"peel_size", {"3x4", "4x5", "8x10"}},
      {"card_outside", {nullptr, "grey", "linen"}},
      {"stamp_text", {nullptr, "1931"}},
      {"plate_mark", {nullptr, true}},
      {"crt_zoom", {1, 2.5, nullptr}},
      {"crt_size_in", {nullptr, 14}},
      {"repro_raster", {"off", "auto"}},
  };
  Json setting = {{"grain_mult", 0}};
  for (const auto& [key, values] : choices.items()) setting[key] = dice.of(values);
  return setting;
}

TEST_F(Plan, AnswersWithTheSizeThatTheRenderReturns) {
  const std::vector<std::string> films = maker().list("films", true);
  std::vector<std::string> papers = maker().list("papers", true);
  papers.push_back("");
  Dice dice(20261123);
  int succeeded = 0;
  for (int i = 0; i < kSettings; ++i) {
    const std::string options = random_setting(dice).dump();
    const std::string& film = dice.of(films);
    const std::string& paper = dice.of(papers);
    const auto [width, height] = dice.picture();
    const Rendered rendered = render(Scene(width, height, 0.2f), options, film, paper);
    const Answer asked = output_size(options, film, paper, width, height);
    const std::string setting = options + " " + film + " on " + paper + " " +
                                std::to_string(width) + " x " + std::to_string(height);
    ASSERT_EQ(rendered.code == 0, asked.code == 0)
        << setting << ": " << rendered.message << " / " << asked.message;
    if (rendered.code != 0) continue;
    ++succeeded;
    ASSERT_EQ(rendered.width, asked.width) << setting;
    ASSERT_EQ(rendered.height, asked.height) << setting;
  }
  EXPECT_GT(succeeded, kSettings * 9 / 10);
}

// The grain's cap is where the engine itself changes from moments to single grains.
TEST_F(Plan, CapsAreTheFilmsAndTheGrainEnginesOwn) {
  int cap_px = 0, grain_px = 0;
  ASSERT_EQ(0, morva_frame_caps(8000, 5333, nullptr, "silver_400", &cap_px, &grain_px, nullptr));
  EXPECT_EQ(6545, cap_px);
  for (const char* film : {"silver_400", "silver_50", "everyday_400", "slide_50"})
    for (const double size_mult : {1.0, 0.4, 3.0}) {
      const Json opts = merged_options({{"grain_size_mult", size_mult}});
      const Json stock = maker().load("films", film);
      const int grain = frame_caps(stock, opts, {8000, 5333}).grain;
      ASSERT_GT(grain, 64) << film;
      const auto by_moments = [&](int long_px) {
        const PixelSize picture = {long_px, 1};
        const Json record = get(stock, "grain");
        if (get(stock, "type") == "bw")
          return growth_plan_bw(picture, 0.1, 2.2, 36000.0, record, 1.0, size_mult).analytic;
        return growth_plan_color(picture, {0.1, 0.1, 0.1}, {2.2, 2.2, 2.2}, 36000.0, record, 1.0,
                                 size_mult)
            .analytic;
      };
      EXPECT_TRUE(by_moments(grain)) << film << " " << grain;
      EXPECT_FALSE(by_moments(grain + 1)) << film << " " << grain;
    }
  for (const auto& [options, film, capped, grained] :
       {std::tuple(R"({"master_cap": false})", "silver_400", false, true),
        {R"({"grain_mult": 0})", "silver_400", true, false},
        {R"({"grain_engine": "classic"})", "silver_400", true, false},
        {"", "instant_wide", true, false}}) {
    ASSERT_EQ(0, morva_frame_caps(8000, 5333, options, film, &cap_px, &grain_px, nullptr));
    EXPECT_TRUE(capped == (cap_px > 0) && grained == (grain_px > 0)) << options << film;
  }
}

TEST_F(Plan, AspectsOfFramesAndCards) {
  for (const auto& [film, options, wanted] :
       {std::tuple("instant_square", "", std::pair(1.0, 1.0)),
        {"silver_50", R"({"frame_size": "full"})", {1.5, 0.0}},
        {"silver_50", R"({"frame_size": "custom"})", {0.0, 0.0}},
        {"silver_50", R"({"frame_size": "6x9"})", {0.0, 0.0}},
        {"silver_50", "", {0.0, 0.0}}}) {
    std::pair both(-1.0, -1.0);
    EXPECT_EQ(0, morva_crop_aspects(options, film, &both.first, &both.second, nullptr));
    EXPECT_EQ(wanted, both) << film << options;
  }
}

TEST_F(Plan, FailuresAreToldByCodeAndText) {
  MorvaError err;
  int w = 0, h = 0;
  double a = 0.0, b = 0.0;
  EXPECT_EQ(1, morva_output_size("", "silver_50", "", 0, 9, &w, &h, &err));
  EXPECT_STREQ("morva_output_size: пустой аргумент или размер", err.message);
  EXPECT_EQ(1, morva_frame_caps(9, 9, "", nullptr, &w, &h, &err));
  EXPECT_STREQ("morva_frame_caps: пустой аргумент", err.message);
  EXPECT_EQ(1, morva_crop_aspects("", "silver_50", nullptr, &b, &err));
  EXPECT_STREQ("morva_crop_aspects: null argument", err.message);
  EXPECT_EQ(2, morva_crop_aspects("", "no such film", &a, &b, &err));
  EXPECT_EQ(2, output_size(R"({"peel_size": "9x9"})", "peel_apart_100", "", 30, 20).code);
  // What a render would refuse is told with its size; sums of sizes do not wrap.
  const char* wide = R"({"border": 1, "master_cap": false})";
  const Answer large = output_size(wide, "silver_50", "", 20000, 9000);
  EXPECT_EQ(3, large.code);
  EXPECT_EQ("лист 60000 x 49000 px, лист не больше 32768 px по стороне", large.message);
  constexpr int longest = 2147483647;
  for (const char* options : {R"({"master_cap": false, "print_cm": 1e6, "mat": "classic"})",
                              R"({"master_cap": false, "frame": 1e-8})"})
    for (const int width : {1, longest})
      EXPECT_EQ(3, output_size(options, "silver_50", "", width, longest).code) << options;
  for (const char* options :
       {"{", "[1]", R"({"no_such": 1})", R"({"crop": [1]})", R"({"mat": "gold"})",
        R"({"border": 1e30})", R"({"border": "x"})", R"({"mat": "classic", "mat_width_cm": 1e12})"})
    EXPECT_EQ(3, output_size(options, "silver_50", "", 30, 20).code) << options;
  // Sizes that mean nothing are answered with nothing.
  EXPECT_EQ(0, morva_frame_caps(0, -5, R"({"crop": [0, 0, 1, 1]})", "silver_50", &w, &h, nullptr));
}

TEST_F(Plan, AnswersWhileARenderRuns) {
  std::thread rendering([] { render(Scene(1500, 1000, 0.2f), "{}", "everyday_400"); });
  for (int i = 0; i < 200; ++i)
    EXPECT_EQ(0, output_size(R"({"mat": "double"})", "silver_50", "bw_warm", 300, 200).code);
  rendering.join();
}

}  // namespace
}  // namespace morva
