// The H&D curve, what development makes of a film record, and lengths on the film.

#include "profiles/film.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "input/failure_of.h"
#include "profiles/formats.h"
#include "profiles/hd_curve.h"

namespace morva {
namespace {

Json silver(const char* type = "bw") {
  Json film = Json::parse(R"({"negative": {"dmin": 0.1, "dmax": 2.1, "gamma": 0.6,
      "mid_density": 0.9}, "grain": {"amount": 0.05, "size_um": 10}})");
  film["type"] = type;
  return film;
}

Json layers_of(const char* type) {
  Json film = Json::parse(R"({"layers": {
    "r": {"dmin": 0.2, "dmax": 2.2, "gamma": 0.6, "mid_density": 0.8},
    "g": {"dmin": 0.4, "dmax": 2.4, "gamma": 0.6, "mid_density": 0.8},
    "b": {"dmin": 0.6, "dmax": 2.6, "gamma": 0.6}}})");
  film["type"] = type;
  return film;
}

Json resolve(const Json& film, double push = 0.0, const char* dev = "standard", double dev_c = 21.0,
             double mottle = 1.0, double c41_c = 30.0) {
  return resolve_film(film, push, dev, dev_c, mottle, c41_c);
}

double number_at(const Json& film, const char* path) {
  return film.at(Json::json_pointer(path)).get<double>();
}

TEST(HdCurve, PassesItsAnchorWithItsSlope) {
  for (const double toe : {0.7, 1.0, 1.5, 2.4})
    for (const double gamma : {0.5, 1.8, 3.0}) {
      const HdCurve curve = make_curve(0.1, 2.3, gamma, toe, kGreyDensity);
      EXPECT_NEAR(0.1 + kGreyDensity, curve.density(0.0), 1e-12);
      const double slope = (curve.density(1e-5) - curve.density(-1e-5)) / 2e-5;
      EXPECT_NEAR(gamma, slope, 1e-5) << toe;
      EXPECT_NEAR(0.1, curve.density(-1e9), 1e-6);
      EXPECT_NEAR(2.3, curve.density(1e9), 1e-6);
    }
  // An anchor beyond the range is clamped into it.
  EXPECT_NEAR(0.999, make_curve(0.0, 1.0, 0.6, 1.5, 5.0).density(0.0), 1e-9);
  EXPECT_NEAR(0.18, std::pow(10.0, -kGreyDensity), 1e-15);
}

TEST(HdCurve, FloatFormFollowsTheDoubleForm) {
  const HdCurve curve = make_curve(0.12, 2.7, 0.63, 1.4, 0.8);
  std::vector<float> x;
  for (float v = -8.0f; v < 8.0f; v += 0.0037f) x.push_back(v);
  std::vector<float> density(x.size());
  curve.density(x.data(), density.data(), x.size());
  double largest = 0.0;
  for (std::size_t i = 0; i < x.size(); ++i)
    largest = std::max(largest, std::fabs(density[i] - curve.density(x[i])));
  EXPECT_LT(largest, 3e-6);
  EXPECT_TRUE(std::ranges::is_sorted(density));
}

TEST(ResolveFilm, PushSteepensFogsAndCoarsens) {
  const Json film = resolve(silver(), 2.0), pulled = resolve(silver(), -8.0);
  EXPECT_NEAR(0.6 * 1.26, number_at(film, "/negative/gamma"), 1e-12);
  EXPECT_NEAR(0.9 * 1.26, number_at(film, "/negative/mid_density"), 1e-12);
  EXPECT_NEAR(0.17, number_at(film, "/negative/dmin"), 1e-12);
  EXPECT_NEAR(2.41, number_at(film, "/negative/dmax"), 1e-12);
  EXPECT_NEAR(0.05 * 1.44, number_at(film, "/grain/amount"), 1e-12);
  EXPECT_EQ(silver()["negative"], resolve(silver())["negative"]);
  EXPECT_NEAR(0.6 * 0.3, number_at(pulled, "/negative/gamma"), 1e-12);
  EXPECT_NEAR(0.1, number_at(pulled, "/negative/dmin"), 1e-12);
  Json dense = silver();  // its anchor stops short of the shoulder
  dense["negative"]["mid_density"] = 1.9;
  const Json curve = resolve(dense, 3.0)["negative"];
  EXPECT_LT(curve["mid_density"], curve["dmax"].get<double>() - curve["dmin"].get<double>());
}

TEST(ResolveFilm, PresetsAndTemperaturesReachTheStages) {
  const Json film = resolve(layers_of("slide"), 1.0, "no such preset");
  EXPECT_EQ(1.0, film["_exposure_shift"]) << "the push of a slide is exposure";
  EXPECT_EQ(0.8, film["layers"]["r"]["mid_density"]);
  const Json color = resolve(layers_of("color"), 1.0, "bleach_bypass");
  EXPECT_EQ(0.0, color["_exposure_shift"]);
  EXPECT_GT(color["_retained_silver"], 0.0);
  EXPECT_GT(resolve(silver(), 0.0, "stand")["_adjacency"], 0.0);
  EXPECT_EQ(3u, resolve(silver("collodion"), 0.0, "pyro")["_silver_tint"].size());
  EXPECT_FALSE(has(resolve(silver("collodion")), "_silver_tint"));
  const auto by_hand = [](double c41_c) {
    return number_at(resolve(layers_of("color"), 0.0, "hand", 21.0, 1.0, c41_c), "/layers/b/gamma");
  };
  EXPECT_NEAR(0.6, by_hand(40.0), 1e-12);
  EXPECT_LT(by_hand(30.0), 0.57);
  EXPECT_EQ(by_hand(10.0), by_hand(17.9));
}

TEST(ResolveFilm, InstantPackFollowsTheWeather) {
  Json film = layers_of("instant");
  film["texture"]["mottle_amp"] = 1.0;
  EXPECT_EQ(film["layers"], resolve(film, 3.0, "x")["layers"]) << "no push, and mild";
  film["tone_mottle"] = 5;  // wrong, and true
  const Json cold = resolve(film, 0.0, "standard", 4.0, 2.0);
  EXPECT_EQ(Json::parse(R"({"amp": 0.0})"), cold["tone_mottle"]);
  EXPECT_LT(number_at(cold, "/layers/r/dmax"), 2.0);
  EXPECT_NEAR(2.0 * number_at(cold, "/_temp_rough"), number_at(cold, "/texture/mottle_amp"), 1e-12);
}

TEST(ResolveFilm, FailuresNameWhatIsWrong) {
  const auto text_of = [](const Json& film, const char* dev) {
    return testing_files::failure_of([&] { resolve(film, 0.0, dev); });
  };
  EXPECT_EQ("«x» — не вариант проявки. Доступно: standard, acutance, fine, stand",
            text_of(silver(), "x"));
  EXPECT_EQ("«x» — не вариант проявки коллодия. Доступно: iron, pyro",
            text_of(silver("collodion"), "x"));
  Json film = layers_of("color");
  film["layers"]["g"].erase("dmax");
  EXPECT_EQ("layer: нет ключа «dmax»", text_of(film, "standard"));
  film["layers"]["g"]["dmax"] = Json();
  EXPECT_EQ("«dmax»: ожидалось число, пришло null", text_of(film, "standard"));
  film.erase("layers");
  EXPECT_NE("", text_of(film, "standard"));
}

TEST(Formats, UnknownNamesFallBack) {
  EXPECT_EQ(std::nullopt, resolve_frame("half", std::nullopt).name);
  EXPECT_EQ("sheet", resolve_frame("4x5", "8x10").family);
  EXPECT_EQ("8x10", resolve_frame("4x5", "8x10").name);
  EXPECT_EQ("custom", resolve_frame("120", "full").name);
  EXPECT_EQ("135", resolve_frame("super8", std::nullopt).family);
}

TEST(Formats, LongSides) {
  EXPECT_EQ(24000.0, format_long_um("half", {}));
  EXPECT_EQ(36000.0, format_long_um("super8", {}));
  for (const Json& cm : {Json(6.4), Json(10), Json()})
    EXPECT_EQ(56000.0, format_long_um("120", {{"format_120_cm", cm}})) << cm;
  EXPECT_EQ(6320, instant_cap_px(Json::parse(R"({"mtf": {"f50_cyc_mm": 20}})"), 79000.0));
  EXPECT_EQ(79000.0, instant_image_long_um(Json::object(), "3x4"));
  EXPECT_EQ(62000.0, instant_image_long_um(Json::parse(R"({"frame": {"image_long_mm": 62}})"), ""));
}

TEST(Formats, PlansOfAFrame) {
  const FramePlan square = frame_plan("135", "custom", 500, 500, 500, 500, "full");
  EXPECT_EQ(24.0, square.short_mm);
  EXPECT_FALSE(square.full_gate);
  EXPECT_TRUE(frame_plan("135", "full", 3000, 2000, 2986, 1990, "full").full_gate);
  EXPECT_FALSE(frame_plan("135", "full", 3000, 2000, 2984, 1990, "full").full_gate);

  const FramePlan half = frame_plan("135", "full", 3000, 2000, 1500, 1000, "texture");
  EXPECT_EQ(18000.0, half.image_long_um);
  EXPECT_EQ(36000.0, half.cap_long_um);
  EXPECT_EQ(36000.0, frame_plan("135", "full", 3000, 2000, 1500, 1000, "fill").image_long_um);
  EXPECT_THROW(frame_plan("135", "6x6", 10, 10, 10, 10, "full"), std::out_of_range);
}

}  // namespace
}  // namespace morva
