// Film that waited, film exposed through its base, and film that was agitated badly.

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "film/ageing.h"
#include "film/uneven_development.h"
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

double range_of(const Json& curve) {
  return curve["dmax"].get<double>() - curve["dmin"].get<double>();
}

// A curve of gamma 0.6 with the default anchor and toe, `share` of its range left by `fog`.
struct Default {
  double mid, toe;
};

void expect_fogged(const Json& curve, const Default& fresh, double dmin, double dmax, double share,
                   double fog) {
  EXPECT_NEAR(dmin, curve["dmin"].get<double>(), 1e-12);
  EXPECT_NEAR(dmax, curve["dmax"].get<double>(), 1e-12);
  EXPECT_NEAR(0.6 * share, curve["gamma"].get<double>(), 1e-12);
  EXPECT_NEAR(fresh.mid * share, curve["mid_density"].get<double>(), 1e-12);
  EXPECT_NEAR(fresh.toe * (1.0 + 0.4 * fog), curve["toe"].get<double>(), 1e-12);
}

TEST(Ageing, LeavesAloneWhatItDoesNotTouch) {
  const Json years = {{"expired_years", 20}, {"redscale", true}};
  Json other = silver();
  other["type"] = "tricolor";
  EXPECT_EQ(other, prepare_film(other, years));
  Json plate = silver();
  plate["dryplate"] = {{"edge_fog", 0.3}};
  EXPECT_EQ(plate, prepare_film(plate, years));
  EXPECT_EQ(silver(), prepare_film(silver(), {{"redscale", true}, {"expired_years", nullptr}}));
  EXPECT_EQ(silver(), prepare_film(silver(), {{"expired_years", -7}}));
  const Json ancient = prepare_film(three_layers("color"), {{"expired_years", 1e30}});
  EXPECT_TRUE(std::isfinite(layer_curve(ancient["layers"]["b"]).density(0.0)));
}

TEST(Ageing, RedscaleStarvesTheBlueLayerAndScattersTwice) {
  Json film = three_layers("color");
  film["halation"]["strength"] = 0.25;
  const Json red = prepare_film(film, {{"redscale", true}});
  EXPECT_EQ(Json::parse("[-1.7, -3.5, -5.7]"), red["_layer_ev"]);
  EXPECT_EQ(0.5, red["halation"]["strength"]);
  EXPECT_FALSE(has(red, "_exposure_shift"));
  film["halation"] = 5;
  EXPECT_EQ(0.16, prepare_film(film, {{"redscale", true}})["halation"]["strength"]);
}

// Fog costs speed, range and contrast, and the emulsion keeps its anchor's place in the range.
TEST(Ageing, SilverFogs) {
  const Json aged = prepare_film(silver(), {{"expired_years", 20}});
  const double fog = (1.0 - std::exp(-0.0095 * 20.0)) * 0.55;
  EXPECT_NEAR(fog, aged["_expired_fog"].get<double>(), 1e-14);
  EXPECT_NEAR(-8.0 * fog, aged["_exposure_shift"].get<double>(), 1e-12);
  expect_fogged(aged["negative"], {0.95, 1.6}, 0.2 + 2.0 * fog, 2.2, 1.0 - fog, fog);
  EXPECT_NEAR(11.0 * std::sqrt(1.0 + fog * 2.0 / 0.95), aged["grain"]["amount_rms"].get<double>(),
              1e-12);

  const double fresh[] = {0.3, 0.36, 0.34}, blue[] = {0.05, 0.25, 0.7};
  for (int c = 0; c < 3; ++c)
    EXPECT_NEAR(fresh[c] + 0.5 * fog * (blue[c] - fresh[c]),
                aged["spectral_weights"][c].get<double>(), 1e-12);
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
  const Json negative = prepare_film(film, {{"expired_years", 25}});
  const double fog = 0.55 * (1.0 - std::exp(-0.0095 * 25.0 * 1.5));
  expect_fogged(negative["layers"]["b"], {0.85, 1.5}, 0.8 + 2.4 * fog, 3.2, 1.0 - fog, fog);
  EXPECT_TRUE(negative["grain"]["amount_rms"].is_null());
  film["type"] = "slide";
  const Json slide = prepare_film(film, {{"expired_years", 25}});
  expect_fogged(slide["layers"]["b"], {kGreyDensity, 1.2}, 0.8 + 0.1 * fog * 2.4, 3.2 - 2.4 * fog,
                1.0 - 1.1 * fog, fog);

  const auto lost = [&](const char* layer) {
    return 1.0 - range_of(negative["layers"][layer]) / range_of(film["layers"][layer]);
  };
  EXPECT_GT(lost("g"), lost("r"));
  EXPECT_GT(lost("b"), lost("g"));
}

TEST(InstantAgeing, FallsOffItsCliffAtSixteen) {
  Json film = three_layers("instant");
  film["texture"] = Json::parse(R"({"mottle_amp": 0.1, "fine_amp": 0.2, "streaks_amp": 0.4,
                                    "chatter": {"amp": 1.0, "paste_amp": 2.0}})");
  film["tone_mottle"] = {{"amp", 0.2}};
  const Json aged = prepare_film(film, {{"expired_years", 16}, {"redscale", true}});
  EXPECT_EQ(0.5, aged["_expired_fog"]);
  EXPECT_FALSE(has(aged, "_layer_ev"));
  EXPECT_EQ(Json::parse(R"({"mottle_amp": 0.25, "fine_amp": 0.5, "streaks_amp": 1.0,
                            "chatter": {"amp": 2.5, "paste_amp": 5.0}})"),
            aged["texture"]);
  EXPECT_EQ(0.5, aged["tone_mottle"]["amp"]);
  EXPECT_NEAR(0.45, aged["layers"]["g"]["gamma"].get<double>(), 1e-12);
  EXPECT_NEAR(0.5 + 0.825 * 2.3, aged["layers"]["g"]["dmax"].get<double>(), 1e-12);
  EXPECT_EQ(0.5, aged["_dmin_ref"]["g"]);
  const double cast = aged["_expired_cast"].get<double>();
  EXPECT_NEAR(1.0 - std::exp(-std::pow(16.0 / 9.0, 1.5)), cast, 1e-12);
  EXPECT_NEAR(-0.4 * cast - 0.5, aged["_exposure_shift"].get<double>(), 1e-12);

  EXPECT_EQ(prepare_film(film, {{"expired_years", 40}}),
            prepare_film(film, {{"expired_years", 99}}));
  film["texture"] = film["tone_mottle"] = 5;
  const Json spread = prepare_film(film, {{"expired_years", 16}});
  EXPECT_EQ(5, spread["texture"]);
  EXPECT_EQ(Json::parse(R"({"amp": 0.0})"), spread["tone_mottle"]);
}

TEST(InstantAgeing, AVariantTurnsThePackFromYellowToBlue) {
  const Json film = three_layers("instant");
  Json packs = Json::object();
  for (int variant = 0; variant < 24; ++variant) {
    const Json aged =
        prepare_film(film, {{"expired_years", 20}, {"seed_variants", {{"film", variant}}}});
    packs[aged["_expired_pack"].get<std::string>()] = aged;
  }
  ASSERT_EQ(2u, packs.size());

  // Density in the base beyond the fog of both dried-out packs.
  const double fog = packs["blue"]["_expired_fog"].get<double>();
  const double cast = packs["blue"]["_expired_cast"].get<double>();
  const auto stain = [&](const Json& aged, const char* layer) {
    const Json& fresh = film["layers"][layer];
    return aged["layers"][layer]["dmin"].get<double>() - fresh["dmin"].get<double>() -
           0.08 * fog * range_of(fresh);
  };
  for (const char* layer : {"r", "g", "b"}) {
    const bool blue_layer = layer == std::string("b");
    EXPECT_NEAR(blue_layer ? 0.33 * cast : 0.0, stain(packs["yellow"], layer), 1e-12);
    EXPECT_NEAR(blue_layer ? 0.0 : 0.231 * cast, stain(packs["blue"], layer), 1e-12);
  }
}

Image field_of(int w, int h, double strength, const std::string& format = "135",
               double long_um = 36000.0) {
  Rng rng = seeded_rng(Json::object(), kDevelopStream);
  return uneven_field(w, h, long_um / std::max(w, h), format, strength, rng).value_or(Image());
}

double row_mean(const Image& field, int y) {
  double sum = 0.0;
  for (int x = 0; x < field.w; ++x) sum += field.at(y, x);
  return sum / field.w;
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
  double mean = 0.0;
  for (int y = 0; y < 240; ++y) mean += row_mean(field, y) / 240.0;
  EXPECT_NEAR(0.0, mean, 1e-3);
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
  Image density(1, 2, 3);
  density.data = {0.2f, 1.2f, 2.2f, 0.5f, 0.5f, 0.5f};
  Image field(1, 2, 1);
  field.data = {0.5f, -0.5f};
  const Image out = apply_uneven(density, {0.2f, 0.2f, 0.2f}, field, {1.0f, 1.0f, 1.15f}, 1.0f);
  const double wanted[] = {0.2, 1.7, 0.2 + 2.0 * 1.575, 0.35};
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(wanted[i], out.data[i], 1e-6);
  const Image back = apply_uneven(density, {0.2f, 0.2f, 0.2f}, field, {1.0f, 1.0f, 1.0f}, -1.0f);
  EXPECT_NEAR(0.7, back.data[1], 1e-6);
  try {
    apply_uneven(density, {}, Image(2, 1, 1), {}, 1.0f);
    FAIL();
  } catch (const std::logic_error& error) {
    EXPECT_STREQ("apply_uneven: поле не по размеру", error.what());
  }
}

}  // namespace
}  // namespace morva
