// Film that waited, film exposed through its base, and film that was agitated badly.

#include <gtest/gtest.h>

#include <cmath>

#include "film/ageing.h"
#include "film/uneven_development.h"
#include "image/pairwise_sum.h"
#include "input/failure_of.h"
#include "profiles/film.h"
#include "profiles/hd_curve.h"
#include "profiles/seeds.h"

namespace morva {
namespace {

Json three_layers(const std::string& type) {
  Json film = Json::parse(R"({"grain": {"amount": 0.1, "amount_rms": null, "size_um": 6.4}})");
  film["type"] = type;
  film["layers"]["r"] = {{"dmin", 0.2}, {"dmax", 2.5}, {"gamma", 0.6}};
  film["layers"]["g"] = {{"dmin", 0.5}, {"dmax", 2.8}, {"gamma", 0.6}, {"mid_density", 0.8}};
  film["layers"]["b"] = {{"dmin", 0.8}, {"dmax", 3.2}, {"gamma", 0.6}};
  return film;
}

Json silver() {
  return Json::parse(R"({"type": "bw", "negative": {"dmin": 0.2, "dmax": 2.2, "gamma": 0.6},
                         "grain": {"amount": 0.1, "amount_rms": 11.0, "size_um": 7.6}})");
}

double number(const Json& value) {
  return value.get<double>();
}

double range_of(const Json& curve) {
  return number(curve["dmax"]) - number(curve["dmin"]);
}

Json aged(const Json& film, double years) {
  return prepare_film(film, {{"expired_years", years}});
}

TEST(Ageing, LeavesAloneWhatItDoesNotTouch) {
  Json other = silver(), plate = silver();
  other["type"] = "tricolor";
  plate["dryplate"] = {{"edge_fog", 0.3}};
  for (const Json& film : {other, plate})
    EXPECT_EQ(film, prepare_film(film, {{"expired_years", 20}, {"redscale", true}}));
  EXPECT_EQ(silver(), prepare_film(silver(), {{"redscale", true}, {"expired_years", nullptr}}));
  EXPECT_EQ(silver(), aged(silver(), -7));
  const Json ancient = aged(three_layers("color"), 1e30);
  EXPECT_TRUE(std::isfinite(layer_curve(ancient["layers"]["b"]).density(0.0)));
}

TEST(Ageing, RedscaleStarvesTheBlueLayerAndScattersTwice) {
  const auto red = [](const Json& halation) {
    Json film = three_layers("color");
    film["halation"] = halation;
    return prepare_film(film, {{"redscale", true}});
  };
  EXPECT_LT(red(5)["_layer_ev"][2], red(5)["_layer_ev"][0]);
  EXPECT_EQ(0.5, red({{"strength", 0.25}})["halation"]["strength"]);
  EXPECT_EQ(0.16, red(5)["halation"]["strength"]);
}

// The emulsion keeps its anchor's place in the range, and sees as raw silver does: blue.
TEST(Ageing, FogCostsSpeedRangeAndContrast) {
  const Json old = aged(silver(), 20), curve = old["negative"];
  const double fog = number(old["_expired_fog"]);
  EXPECT_NEAR((1.0 - std::exp(-0.0095 * 20.0)) * 0.55, fog, 1e-14);
  EXPECT_LT(number(old["_exposure_shift"]), -0.5);
  EXPECT_EQ(2.2, curve["dmax"]);
  EXPECT_NEAR(2.0 * (1.0 - fog), range_of(curve), 1e-12);
  EXPECT_NEAR(0.6 * (1.0 - fog), number(curve["gamma"]), 1e-12);
  EXPECT_NEAR(0.95 * (1.0 - fog), number(curve["mid_density"]), 1e-12);
  EXPECT_GT(old["grain"]["amount_rms"], 11.0);
  EXPECT_GT(old["spectral_weights"][2], 0.34);
}

TEST(Ageing, CoarseFilmAgesFaster) {
  Json film = silver();
  for (const auto& [size_um, rate] :
       {std::pair{Json(7.6), 1.0}, {15.2, 2.0}, {1e30, 2.8}, {Json(), 1.0}}) {
    film["grain"]["size_um"] = size_um;
    EXPECT_EQ(rate, age_rate(film)) << size_um;
  }
}

TEST(Ageing, TheBlueLayerGoesFirstAndASlideLosesItsBlack) {
  Json film = three_layers("color");
  film["grain"]["size_um"] = nullptr;  // of middling speed
  const Json negative = aged(film, 25);
  EXPECT_TRUE(negative["grain"]["amount_rms"].is_null());
  const auto lost = [&](const char* layer) {
    return 1.0 - range_of(negative["layers"][layer]) / range_of(film["layers"][layer]);
  };
  const double fog = 0.55 * (1.0 - std::exp(-0.0095 * 25.0 * 1.5));
  EXPECT_NEAR(fog, lost("b"), 1e-12);
  EXPECT_GT(lost("g"), lost("r"));
  EXPECT_GT(lost("b"), lost("g"));
  film["type"] = "slide";
  const Json slide = aged(film, 25)["layers"]["b"];
  EXPECT_NEAR(0.8 + 0.1 * fog * 2.4, number(slide["dmin"]), 1e-12);
  EXPECT_NEAR(3.2 - 2.4 * fog, number(slide["dmax"]), 1e-12);
}

TEST(InstantAgeing, FallsOffItsCliffAtSixteen) {
  Json film = three_layers("instant");
  film["texture"] = {{"mottle_amp", 0.1}, {"chatter", {{"amp", 1.0}, {"paste_amp", 2.0}}}};
  const Json old = prepare_film(film, {{"expired_years", 16}, {"redscale", true}});
  EXPECT_EQ(0.5, old["_expired_fog"]);
  EXPECT_FALSE(has(old, "_layer_ev"));
  EXPECT_EQ(0.25, old["texture"]["mottle_amp"]);
  EXPECT_EQ(5.0, old["texture"]["chatter"]["paste_amp"]);
  EXPECT_NEAR(0.45, number(old["layers"]["g"]["gamma"]), 1e-12);
  EXPECT_EQ(0.5, old["_dmin_ref"]["g"]);
  EXPECT_LT(number(old["_exposure_shift"]), -0.5);
  EXPECT_EQ(aged(film, 40), aged(film, 99));
  film["texture"] = film["tone_mottle"] = 5;
  EXPECT_EQ(5, aged(film, 16)["texture"]);
  EXPECT_EQ(Json::parse(R"({"amp": 0.0})"), aged(film, 16)["tone_mottle"]);
}

TEST(InstantAgeing, AVariantTurnsThePackFromYellowToBlue) {
  const Json film = three_layers("instant");
  Json packs = Json::object();
  for (int variant = 0; variant < 24; ++variant) {
    const Json pack =
        prepare_film(film, {{"expired_years", 20}, {"seed_variants", {{"film", variant}}}});
    packs[pack["_expired_pack"].get<std::string>()] = pack["layers"];
  }
  ASSERT_EQ(2u, packs.size());
  const auto base = [&](const char* pack, const char* layer) {
    return number(packs[pack][layer]["dmin"]);
  };
  EXPECT_GT(base("yellow", "b"), base("blue", "b") + 0.2);
  for (const char* layer : {"r", "g"}) EXPECT_GT(base("blue", layer), base("yellow", layer) + 0.1);
}

Image field_of(int w, int h, double strength, const std::string& format = "135",
               double long_um = 36000.0) {
  Rng rng = seeded_rng(Json::object(), kDevelopStream);
  return uneven_field(w, h, long_um / std::max(w, h), format, strength, rng).value_or(Image());
}

double row_mean(const Image& field, int y) {
  return mean_and_deviation(&field.data[static_cast<std::size_t>(y) * field.w], field.w).mean;
}

// Swing along a row at the pitch of the perforations, with the phase that it happens to have.
double swing_at_pitch(const Image& field, double long_mm, int row) {
  double c = 0.0, s = 0.0;
  for (int x = 0; x < field.w; ++x) {
    const double t = 2.0 * 3.141592653589793 * (x + 0.5) * long_mm / field.w / 4.75;
    c += field.at(row, x) * std::cos(t);
    s += field.at(row, x) * std::sin(t);
  }
  return 2.0 * std::sqrt(c * c + s * s) / field.w;
}

TEST(UnevenField, RunsAlongTheEdgesOfTheFilm) {
  const Image field = field_of(360, 240, 1.0, "120");
  EXPECT_NEAR(0.0, mean_and_deviation(field.data.data(), field.data.size()).mean, 1e-3);
  const double edges = 0.5 * (row_mean(field, 0) + row_mean(field, 239));
  EXPECT_NEAR(0.16, edges - row_mean(field, 120), 0.06);

  const Image upright = field_of(240, 360, 1.0, "120");
  for (int y = 0; y < 360; y += 7)
    for (int x = 0; x < 240; x += 5) ASSERT_NEAR(field.at(x, y), upright.at(y, x), 1e-6);
}

// The jets fade to 1 / e over 1.6 mm, which are 32 rows.
TEST(UnevenField, OnlyPerforatedFilmHasJets) {
  const Image field = field_of(720, 480, 1.0, "135");
  const double with = swing_at_pitch(field, 36.0, 0);
  EXPECT_GT(with, 0.03);
  EXPECT_LT(with, 0.14);
  EXPECT_NEAR(std::exp(-1.0), swing_at_pitch(field, 36.0, 37) / swing_at_pitch(field, 36.0, 5),
              0.1);
  EXPECT_GT(swing_at_pitch(field_of(480, 360, 1.0, "half", 24000.0), 24.0, 0), 0.03);
  EXPECT_LT(swing_at_pitch(field_of(720, 480, 1.0, "120"), 36.0, 0), 0.5 * with);
}

// The grid is the film's, so the field is the same at every resolution.
TEST(UnevenField, DoesNotKnowTheRaster) {
  const Image small = field_of(72, 48, 0.8), large = field_of(720, 480, 0.8);
  for (int y = 0; y < 48; ++y)
    for (int x = 0; x < 72; ++x)
      ASSERT_NEAR(0.5f * (large.at(10 * y + 4, 10 * x + 4) + large.at(10 * y + 5, 10 * x + 5)),
                  small.at(y, x), 0.02);
}

TEST(UnevenField, StaysWithinItsLimits) {
  EXPECT_TRUE(field_of(36, 24, 0.0001).data.empty());
  EXPECT_TRUE(field_of(36, 24, std::nan("")).data.empty());
  for (const double strength : {3.0, 1e30})
    for (const float v : field_of(60, 41, strength).data) ASSERT_TRUE(v >= -0.75f && v <= 0.8f);
  EXPECT_EQ(1u, field_of(1, 1, 1.0).data.size());
  EXPECT_EQ(9000u, field_of(9000, 1, 1.0, "135", 1e12).data.size());
}

TEST(ApplyUneven, ScalesDensityAboveTheFog) {
  Image density(1, 2, 3), field(1, 2, 1);
  density.data = {0.2f, 1.2f, 2.2f, 0.5f, 0.5f, 0.5f};
  field.data = {0.5f, -0.5f};
  const Image out = apply_uneven(density, {0.2f, 0.2f, 0.2f}, field, {1.0f, 1.0f, 1.15f}, 1.0f);
  const double wanted[] = {0.2, 1.7, 0.2 + 2.0 * 1.575, 0.35};
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(wanted[i], out.data[i], 1e-6);
  const Image back = apply_uneven(density, {0.2f, 0.2f, 0.2f}, field, {1.0f, 1.0f, 1.0f}, -1.0f);
  EXPECT_NEAR(0.7, back.data[1], 1e-6);
  EXPECT_EQ("apply_uneven: поле не по размеру", testing_files::failure_of([&] {
              apply_uneven(density, {}, Image(2, 1, 1), {}, 1.0f);
            }));
}

}  // namespace
}  // namespace morva
