// Film that waited, film exposed through its base, and film that was agitated badly.

#include "film/ageing.h"

#include "film/uneven_development.h"
#include "image/on_every_isa.h"
#include "input/failure_of.h"
#include "profiles/hd_curve.h"
#include "profiles/seeds.h"

namespace morva {
namespace {

Json three_layers(const std::string& type) {
  Json film = Json::parse(R"({"grain": {"amount": 0.1, "amount_rms": null, "size_um": 6.4},
    "layers": {"r": {"dmin": 0.2, "dmax": 2.5, "gamma": 0.6},
               "g": {"dmin": 0.5, "dmax": 2.8, "gamma": 0.6, "mid_density": 0.8},
               "b": {"dmin": 0.8, "dmax": 3.2, "gamma": 0.6}}})");
  film["type"] = type;
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
  Json film = three_layers("color");
  for (const auto& [halation, strength] : {std::pair{Json{{"strength", 0.25}}, 0.5}, {5, 0.16}}) {
    film["halation"] = halation;
    const Json red = prepare_film(film, {{"redscale", true}});
    EXPECT_LT(red["_layer_ev"][2], red["_layer_ev"][0]);
    EXPECT_EQ(strength, red["halation"]["strength"]);
  }
}

// The emulsion keeps its anchor's place in the range, and sees as raw silver does: blue.
TEST(Ageing, FogCostsSpeedRangeAndContrast) {
  const Json old = aged(silver(), 20), curve = old["negative"];
  const double fog = (1.0 - std::exp(-0.0095 * 20.0)) * 0.55;
  EXPECT_LT(number(old["_exposure_shift"]), -0.5);
  EXPECT_EQ(2.2, curve["dmax"]);
  EXPECT_NEAR(2.0 * (1.0 - fog), range_of(curve), 1e-12);
  EXPECT_NEAR(0.6 * (1.0 - fog), number(curve["gamma"]), 1e-12);
  EXPECT_NEAR(0.95 * (1.0 - fog), number(curve["mid_density"]), 1e-12);
  EXPECT_GT(old["grain"]["amount_rms"], 11.0);
  EXPECT_GT(old["spectral_weights"][2], 0.34);
  Json film = silver();  // coarse film ages faster, up to a limit
  const auto rate = [&](const Json& size_um) {
    film["grain"]["size_um"] = size_um;
    return age_rate(film);
  };
  EXPECT_TRUE(rate(7.6) == 1.0 && rate(15.2) == 2.0 && rate(1e30) < 3.0 && rate(Json()) == 1.0);
}

TEST(Ageing, TheBlueLayerGoesFirstAndASlideLosesItsBlack) {
  const Json film = three_layers("color"), negative = aged(film, 25);
  EXPECT_TRUE(negative["grain"]["amount_rms"].is_null());
  const auto lost = [&](const char* layer) {
    return 1.0 - range_of(negative["layers"][layer]) / range_of(film["layers"][layer]);
  };
  EXPECT_TRUE(lost("b") > lost("g") && lost("g") > lost("r") && lost("r") > 0.0);
  const Json slide = aged(three_layers("slide"), 25)["layers"]["b"];
  EXPECT_TRUE(slide["dmin"] > 0.8 && slide["dmin"] < 0.9) << slide;
  EXPECT_TRUE(slide["dmax"] > 2.0 && slide["dmax"] < 2.8) << slide;
}

TEST(InstantAgeing, FallsOffItsCliffAtSixteen) {
  Json film = three_layers("instant");
  film["texture"] = {{"mottle_amp", 0.1}, {"chatter", {{"amp", 1.0}, {"paste_amp", 2.0}}}};
  const Json old = prepare_film(film, {{"expired_years", 16}, {"redscale", true}});
  EXPECT_EQ(0.5, old["_expired_fog"]);
  EXPECT_FALSE(has(old, "_layer_ev"));
  EXPECT_GT(old["texture"]["mottle_amp"], 0.1);
  EXPECT_GT(old["texture"]["chatter"]["paste_amp"], 2.0);
  EXPECT_LT(number(old["_exposure_shift"]), -0.5);
  EXPECT_EQ(aged(film, 40), aged(film, 99));
  film["texture"] = film["tone_mottle"] = 5;
  EXPECT_EQ(5, aged(film, 16)["texture"]);
  EXPECT_EQ(Json::parse(R"({"amp": 0.0})"), aged(film, 16)["tone_mottle"]);
  // A variant turns the pack from yellow to blue.
  Json packs = Json::object();
  for (int variant = 0; variant < 24; ++variant) {
    const Json pack = prepare_film(three_layers("instant"),
                                   {{"expired_years", 20}, {"seed_variants", {{"film", variant}}}});
    packs[pack["_expired_pack"].get<std::string>()] = pack["layers"];
  }
  ASSERT_EQ(2u, packs.size());
  const auto bluer = [&](const char* layer) {
    return number(packs["blue"][layer]["dmin"]) - number(packs["yellow"][layer]["dmin"]);
  };
  EXPECT_TRUE(bluer("b") < -0.2 && bluer("r") > 0.1 && bluer("g") > 0.1);
}

Image field_of(int w, int h, double strength, const std::string& format = "135",
               double long_um = 36000.0) {
  Rng rng = seeded_rng(Json::object(), kDevelopStream);
  return uneven_field(w, h, long_um / std::max(w, h), format, strength, rng).value_or(Image());
}

double row_mean(const Image& field, int y) {
  return mean_and_deviation(field.data.data() + y * field.w, field.w).mean;
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
  EXPECT_NEAR(0.0, mean_of(field), 1e-3);
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
  EXPECT_TRUE(with > 0.03 && with < 0.14) << with;
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
  EXPECT_EQ("apply_uneven: поле не по размеру", testing_files::failure_of([] {
              apply_uneven(Image(1, 2, 3), {}, Image(2, 1, 1), {}, 1.0f);
            }));
}

}  // namespace
}  // namespace morva
