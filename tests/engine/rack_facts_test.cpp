// The facts of a setting, held against the stages that they are about.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "engine/host.h"
#include "flow/options.h"
#include "flow/stock.h"
#include "image/random.h"
#include "print/paper.h"
#include "profiles/hd_curve.h"
#include "profiles/json_access.h"

namespace morva {
namespace {

constexpr int kPoints = 65;

struct Asked : Answer {
  Json facts;
};

Asked ask(const char* film, const char* lens, const char* paper, const Json& options = nullptr,
          std::array<int, 4> frame_and_crop = {6000, 4000, 0, 0}) {
  const auto [w, h, crop_w, crop_h] = frame_and_crop;
  Asked asked;
  MorvaError err;
  std::vector<char> text(32768);
  asked.code = morva_rack_facts(options.is_null() ? "" : options.dump().c_str(), film, lens, paper,
                                w, h, crop_w, crop_h, text.data(), 32768, &err);
  asked.message = err.message;
  if (asked.code == 0) asked.facts = Json::parse(text.data());
  return asked;
}

class RackFacts : public HostTest {};

using Keys = std::set<std::string>;

Keys keys_of(const Json& object) {
  Keys keys;
  for (const auto& [key, value] : object.items()) keys.insert(key);
  return keys;
}

Keys words_of(const std::string& text) {
  std::istringstream words(text);
  return {std::istream_iterator<std::string>(words), {}};
}

TEST_F(RackFacts, HaveTheKeysThatStockAndPaperCallFor) {
  const std::string lens = " stop vig swirl residual";
  const std::string film = " frame_sizes size_um cell_px cell_grown resolved";
  const std::string paper = " kind grade print_ev exposure_shift";
  const std::string printed = paper + " paper_curve through";
  const std::string tube = " lines line_px lines_drawn has_mask pitch_mm mask_px mask_drawn raster";
  const std::string positive = "positiveRGB", dyes = "layersRGB";
  const std::string wet_plate = "plate plateAndIntensify dmax_intensified";
  const struct {
    const char *film, *lens, *paper;
    std::string keys, curves;
  } cases[] = {
      {"silver_400", "plain", "bw_neutral", lens + film + printed, "negativeCurve"},
      {"everyday_400", nullptr, nullptr, film, dyes},
      {"everyday_400", "", "crt_delta", film + printed + tube, dyes},
      {"everyday_400", nullptr, "cyanotype", film + printed, dyes},
      {"slide_50", nullptr, "offset_coated", film + paper + " raster", positive},
      {"slide_50", nullptr, "reversal_gloss", film + printed, positive},
      {"instant_square", "plain", "crt_delta", paper, positive},
      {"instant_mono", nullptr, nullptr, "", positive},
      {"collodion_glass", nullptr, "ambrotype", film + paper, wet_plate},
      {"collodion_glass", nullptr, "bw_warm", film + printed, wet_plate},
      {"tricolor_plates", nullptr, "scan_film", film + paper, "plate plateAndPositive"},
  };
  const std::string always = "window frame_frac print_cm curves tone long_px grow long_grown";
  for (const auto& c : cases) {
    const Asked asked = ask(c.film, c.lens, c.paper, {{"intensify", 0.5}});
    SCOPED_TRACE(std::string(c.film) + " on " + (c.paper ? c.paper : "its own"));
    ASSERT_EQ(0, asked.code) << asked.message;
    EXPECT_EQ(words_of(always + c.keys), keys_of(asked.facts));
    EXPECT_EQ(words_of(c.curves), keys_of(asked.facts["curves"]));
  }
  EXPECT_FALSE(has(ask("silver_400", nullptr, nullptr, {{"grain_mult", 0}}).facts, "cell_px"));
}

TEST_F(RackFacts, CurvesAreThoseThatRender) {
  const Json opts = {{"push", 1}, {"grade", 3}, {"print_ev", 0.5}, {"print_black", 0.4}};
  const auto developed = [&](const char* film) {
    return developed_stock(maker().load("films", film), merged_options(opts));
  };
  const Json silver = ask("silver_400", nullptr, "bw_neutral", opts).facts;
  const Json slide = ask("slide_50", nullptr, "reversal_gloss", opts).facts;
  const HdCurve negative = negative_curve(developed("silver_400").at("negative"));
  const HdCurve dye = slide_curve(developed("slide_50").at("layers").at("b"));
  const PrintParams print =
      print_params_bw(maker().load("papers", "bw_neutral"), merged_options(opts));
  ASSERT_EQ(kPoints, silver["curves"]["negativeCurve"].size());
  for (int i = 0; i < kPoints; ++i) {
    const double exposure = -3.0 + 0.09375 * i;
    EXPECT_EQ(negative.density(exposure), silver["curves"]["negativeCurve"][i]) << i;
    EXPECT_EQ(dye.density(-exposure), slide["curves"]["positiveRGB"][2][i]) << i;
    auto printed = static_cast<float>(negative.density(exposure) - negative.dmid);
    paper_density(print.curve, &printed, &printed, 1, print.print_ev, 0.0);
    EXPECT_NEAR(printed, silver["through"][i].get<double>(), 1e-5) << i;
    EXPECT_GE(silver["paper_curve"][i], silver["paper_curve"][std::max(i - 1, 0)]) << i;
    EXPECT_LE(slide["paper_curve"][i], slide["paper_curve"][std::max(i - 1, 0)]) << i;
  }
}

// A mid grey is at the middle point, and prints as one whatever the film and its road to paper.
TEST_F(RackFacts, AMidGreyGoesThroughAsOne) {
  for (const auto& [film, paper] : {std::pair("silver_400", "bw_warm"),
                                    {"everyday_400", "color_gloss"},
                                    {"everyday_400", "bw_neutral"},
                                    {"collodion_glass", "platinum"},
                                    {"slide_50", "reversal_gloss"}}) {
    const double white = get_number(maker().load("papers", paper), "dmin", 0.05);
    const Json through = ask(film, nullptr, paper).facts["through"];
    const bool in_colour = through.size() == 3;
    EXPECT_EQ(in_colour, paper == std::string("color_gloss") || film == std::string("slide_50"));
    for (const Json& layer : in_colour ? through : Json::array({through}))
      EXPECT_NEAR(layer.at(kPoints / 2).get<double>() - white, kGreyDensity, 5e-3)
          << film << " on " << paper;
  }
  const Json plates = ask("tricolor_plates", nullptr, nullptr).facts["curves"];
  EXPECT_LT(plates["plate"].front(), plates["plate"].back());
  EXPECT_GT(plates["plateAndPositive"].front(), plates["plateAndPositive"].back());
  const Json wet = ask("collodion_glass", nullptr, nullptr, {{"intensify", 1}}).facts["curves"];
  EXPECT_GT(wet["plateAndIntensify"].back(), wet["plate"].back());
}

TEST_F(RackFacts, TheWindowIsWhatTheCropTakesOfTheFrame) {
  const Json opts = {{"format", "120"}, {"frame_size", "6x9"}, {"frame_style", "thin"}};
  const Json whole = ask("silver_400", nullptr, nullptr, opts).facts;
  EXPECT_EQ(84000.0, whole["window"]["fmt_um"]);
  EXPECT_NEAR(56.0, whole["window"]["short_mm"].get<double>(), 0.01);
  EXPECT_TRUE(whole["window"]["exact"]);
  EXPECT_EQ((Json{"645", "6x6", "6x7", "6x8", "6x9", "6x12"}), whole["frame_sizes"]);
  EXPECT_GT(whole["frame_frac"], 0.0);

  const Json part = ask("silver_400", nullptr, nullptr, opts, {6000, 4000, 3000, 1000}).facts;
  EXPECT_FALSE(part["window"]["exact"]);
  EXPECT_NEAR(42.0, part["window"]["long_mm"].get<double>(), 1e-9);
  EXPECT_NEAR(14.0, part["window"]["short_mm"].get<double>(), 1e-9);
  Json cropped = opts;
  cropped["crop"] = {0.25, 0.5, 0.5, 0.25};
  EXPECT_EQ(part, ask("silver_400", nullptr, nullptr, cropped).facts);

  const Json peel = ask("peel_apart_100", nullptr, nullptr, {{"peel_size", "4x5"}}).facts;
  EXPECT_EQ("4x5", peel["window"]["size"]);
  EXPECT_EQ(3.6, ask("collodion_glass", nullptr, "tintype", {{"format", "135"}}).facts["print_cm"]);
}

// Grains show exactly beyond the long side that the caps name.
TEST_F(RackFacts, GrainIsResolvedBeyondItsCap) {
  for (const char* film : {"silver_400", "everyday_400", "slide_50"}) {
    int cap_px = 0, grain_px = 0;
    ASSERT_EQ(0, morva_frame_caps(6000, 4000, nullptr, film, &cap_px, &grain_px, nullptr));
    for (const int more : {0, 1}) {
      const Asked asked = ask(film, nullptr, nullptr, nullptr, {grain_px + more, grain_px / 2});
      EXPECT_EQ(more == 1, asked.facts["resolved"]) << film;
    }
  }
  for (const auto& [w, resolved] : {std::pair(6000, true), {300, false}}) {
    const Json classic = {{"grain_engine", "classic"}};
    const Asked asked = ask("silver_400", nullptr, nullptr, classic, {w, w * 2 / 3});
    EXPECT_EQ(resolved, asked.facts["resolved"]);
  }
}

TEST_F(RackFacts, APrintRunTellsTheRasterItIsDrawnOn) {
  const Json fine = ask("everyday_400", nullptr, "offset_coated").facts;
  EXPECT_TRUE(fine["raster"]["name"] == "offset" && fine["raster"]["resolved"] == true);
  EXPECT_NEAR(25400.0 / 150.0, fine["raster"]["period_um"].get<double>(), 1e-9);
  const double grow = fine["grow"];
  EXPECT_GT(grow, 1.0);
  EXPECT_NEAR(fine["long_px"].get<double>() * grow, fine["long_grown"].get<double>(), 2.0);
  const Json small = ask("everyday_400", nullptr, "offset_coated", nullptr, {600, 400}).facts;
  EXPECT_TRUE(small["raster"]["drawn"] == false && small["grow"] == 1.0);

  const Json tube = ask("everyday_400", nullptr, "crt_delta", {{"crt_zoom", 2}}).facts;
  EXPECT_TRUE(tube["lines"] == 288.0 && tube["line_px"] == 4000.0 / 288.0);
  const Json bare = ask("everyday_400", nullptr, "crt_no_mask", nullptr, {60, 40}).facts;
  for (const char* drawn : {"lines_drawn", "has_mask", "mask_drawn"})
    EXPECT_TRUE(tube[drawn] == true && bare[drawn] == false) << drawn;
}

TEST_F(RackFacts, FillTheBufferAndNoMore) {
  std::vector<char> text(32768);
  const auto fill = [](char* to, int cap) {
    return morva_rack_facts(nullptr, "silver_400", nullptr, nullptr, 600, 400, 0, 0, to, cap,
                            nullptr);
  };
  ASSERT_EQ(0, fill(text.data(), 32768));
  const std::string whole = text.data();
  const int length = static_cast<int>(whole.size());
  for (const int cap : {0, -1, 1, 2, length, length + 1, length + 2}) {
    std::fill(text.begin(), text.end(), '#');
    EXPECT_EQ(0, fill(text.data(), cap)) << cap;
    const std::string expected = cap < 1 ? "" : whole.substr(0, static_cast<std::size_t>(cap - 1));
    EXPECT_EQ(expected, std::string(text.data(), expected.size())) << cap;
    EXPECT_EQ(cap < 1 ? '#' : '\0', text[expected.size()]) << cap;
    EXPECT_EQ('#', text[static_cast<std::size_t>(std::max(cap, 0))]) << cap;
  }
  EXPECT_EQ(0, fill(nullptr, 100));
}

TEST_F(RackFacts, FailuresHaveTheirCodes) {
  const Asked none = ask(nullptr, nullptr, nullptr);
  EXPECT_TRUE(none.code == 1 && none.message == "morva_rack_facts: null stock") << none.message;
  EXPECT_EQ(2, ask("no_such_film", nullptr, nullptr).code);
  EXPECT_EQ(2, ask("silver_400", "no_such_lens", nullptr).code);
  EXPECT_EQ(2, ask("silver_400", nullptr, "no_such_paper").code);
  for (const Json& options : {Json{{"no_such_option", 1}}, {{"stop", "wide"}}, {{"dev", "no"}}})
    EXPECT_EQ(3, ask("silver_400", "plain", nullptr, options).code) << options;
  EXPECT_EQ(0, ask("silver_400", "plain", "bw_neutral", nullptr, {0, -5, 1, 1}).code);
}

// Whatever the options hold, the answer is JSON or a failure.
TEST_F(RackFacts, HostileNumbersAreAnsweredOrRefused) {
  const std::vector<Json> values = {nullptr,       -1,  0, 1e308, -1e308, 1e-320, "x",
                                    Json::array(), true};
  const std::vector<std::string> films = maker().list("films", true);
  const std::vector<std::string> papers = maker().list("papers", true);
  Rng rng = rng_from_key({20261123});
  const auto any = [&](const auto& list) -> const auto& {
    return list[static_cast<std::size_t>(rng.uniform() * static_cast<double>(list.size()))];
  };
  const Keys known = keys_of(merged_options(nullptr));
  const std::vector<std::string> keys(known.begin(), known.end());
  for (int i = 0; i < 500; ++i) {
    const Json options = {{any(keys), any(values)}, {any(keys), any(values)}};
    const std::string film = any(films), paper = any(papers);
    const Asked asked = ask(film.c_str(), "swirl", paper.c_str(), options, {640, 480, 500, 300});
    EXPECT_TRUE(asked.code == 0 || asked.code == 2 || asked.code == 3)
        << film << " on " << paper << " " << options << ": " << asked.code;
  }
}

}  // namespace
}  // namespace morva
