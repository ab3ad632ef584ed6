// Hand-coated plates: the pour, the edge of the coating, the developer's marks and the curve.

#include "film/develop_bw.h"
#include "film/flow_noise.h"
#include "film/plate_development.h"
#include "film/plate_fields.h"
#include "image/on_every_isa.h"

namespace morva {
namespace {

constexpr int kWidth = 404, kHeight = 304;
constexpr double kPxUm = 250.0;  // a plate of 101 x 76 mm

Json wet_film() {
  return Json::parse(R"({"type": "collodion", "grain": {"amount": 0}, "collodion": {},
    "negative": {"dmin": 0.1, "dmax": 1.6, "dmax_intensified": 2.4, "gamma": 1.2,
                 "mid_density": 0.8}})");
}

// Densities over those of a mid grey.
Image developed(const Json& film, const Image& scene, const Json& options = Json::object(),
                double px_um = kPxUm) {
  RenderContext ctx;
  return develop_bw(scene, film, options, px_um, nullptr, ctx).density;
}

// Correlation of neighbours `dx`, `dy` apart.
double correlation(const Image& field, int dx, int dy) {
  double sum = 0.0, squares = 0.0;
  for (int y = std::max(0, -dy); y < std::min(field.h, field.h - dy); ++y)
    for (int x = std::max(0, -dx); x < std::min(field.w, field.w - dx); ++x) {
      const double a = field.at(y, x);
      sum += a * field.at(y + dy, x + dx);
      squares += a * a;
    }
  return sum / squares;
}

// Across the streaks correlation falls as exp(-(3 d / 2 scale)^2); along them it is stretched.
TEST(FlowNoise, StreaksRunFromTheCornerOfThePourAtTheirScale) {
  for (const bool right : {false, true}) {
    double half = 0.0, across = 0.0, along = 0.0;
    for (int seed = 0; seed < 12; ++seed) {
      Rng rng = rng_from_key({5, seed});
      const Image field = flow_noise(300, 300, 250.0, {{right, false}, 6.0, 4.0}, rng);
      const int down = right ? -1 : 1;  // 17 pixels both ways are 6 mm
      half += correlation(field, 9, -9 * down) / 12.0;
      across += correlation(field, 17, -17 * down) / 12.0;
      along += correlation(field, 17, 17 * down) / 12.0;
    }
    EXPECT_NEAR(std::exp(-2.25 * 0.53 * 0.53), half, 0.12) << right;
    EXPECT_NEAR(0.1, across, 0.12) << right;
    EXPECT_NEAR(std::exp(-2.25 / 16.0), along, 0.08) << right;
  }
}

TEST(FlowNoise, HasUnitScaleAndStaysWhereItIsOnAFinerRaster) {
  double variance = 0.0;
  for (int seed = 0; seed < 20; ++seed) {
    Rng coarse_rng = rng_from_key({seed}), fine_rng = coarse_rng;
    const Image coarse = flow_noise(76, 101, 1000.0, {{}, 6.0, 2.0}, coarse_rng);
    const Image fine = flow_noise(304, 404, 250.0, {{}, 6.0, 2.0}, fine_rng);
    variance += std::pow(deviation_of(coarse), 2) / 20.0;
    EXPECT_NEAR(coarse.at(38, 50), fine.at(154, 202), 0.15);
    EXPECT_EQ(coarse_rng.next(), fine_rng.next());
  }
  EXPECT_NEAR(1.0, std::sqrt(variance), 0.2);
  // Fine noise fades where the pixel is too large for it.
  for (const double px_um : {5.0, 120.0}) {
    Rng rng = rng_from_key({9});
    const Image noise = fine_noise(256, 256, px_um, 14.0, rng);
    const double wanted = std::min(14.0 / px_um / 0.45, 1.0);
    EXPECT_NEAR(wanted, deviation_of(noise), 0.05 * wanted);
  }
}

TEST(PourField, FallsAcrossThePlateAndPausesInACrescent) {
  Json film = wet_film();
  film["collodion"] = {{"wander", 0}, {"slope", 0.2}, {"crescent", 0.3}};
  bool seen[2][2] = {};
  for (int seed = 0; seed < 24; ++seed) {
    Rng rng = rng_from_key({seed});
    const PourField pour =
        pour_field(kHeight, kWidth, kPxUm, plate_params(film, Json::object()), rng);
    seen[pour.corner.below][pour.corner.right] = true;
    const int top = pour.corner.below ? kHeight - 1 : 0;
    const int left = pour.corner.right ? kWidth - 1 : 0;
    EXPECT_NEAR(1.1, pour.gain.at(top, left), 0.01);
    EXPECT_NEAR(0.9, pour.gain.at(kHeight - 1 - top, kWidth - 1 - left), 0.01);
    // On the long side, 0.16 of it from the corner.
    const int arc = static_cast<int>(0.16 * kWidth);
    const float there = pour.gain.at(top, left == 0 ? arc : kWidth - 1 - arc);
    EXPECT_NEAR((1.1 - 0.16 * 0.1) * 1.3, there, 0.01);
  }
  EXPECT_TRUE(seen[0][0] && seen[0][1] && seen[1][0] && seen[1][1]);
}

TEST(PlateField, IsEvenInsideAndBareAtOneCorner) {
  Rng rng = rng_from_key({3});
  const PlateField field = plate_field(kWidth, kHeight, kPxUm, PlateEdge{}, 1.0, rng);
  const int inside = 80;  // 20 mm
  for (int y = inside; y < kHeight - inside; ++y)
    for (int x = inside; x < kWidth - inside; ++x)
      ASSERT_TRUE(field.gain.at(y, x) == 1.0f && field.edge.at(y, x) == 1.0f) << y << " " << x;
  EXPECT_NEAR(1.12, std::ranges::max(field.gain.data), 0.005);
  int bare = 0;  // 2.2 mm in from both sides
  for (const int y : {8, kHeight - 9})
    for (const int x : {8, kWidth - 9}) bare += field.edge.at(y, x) < 0.01f;
  EXPECT_EQ(1, bare);
  EXPECT_GT(mean_of(field.edge), 0.95);
}

// What a pour of nothing is, however it is said.
TEST(Plate, WithoutAPourHasNoMarks) {
  const Image scene(40, 60, 3, 0.18f);
  for (const Json& options : {Json{{"plate_pour", nullptr}, {"push", 3}}, Json{{"plate_pour", -2}}})
    for (const float d : developed(wet_film(), scene, options).data)
      ASSERT_NEAR(0.0, d, 2e-6) << options;
  EXPECT_GT(deviation_of(developed(wet_film(), scene)), 0.01);
}

TEST(Plate, VeilsAndGrowsCrystalsInItsThinPartsWithPush) {
  const HdCurve curve = negative_curve(wet_film().at("negative"));
  const auto grown = [&](double push, float density) {
    const PlateParams plate = plate_params(wet_film(), {{"push", push}});
    PlateFields fields = plate_fields(plate, kWidth, kHeight, 40.0);
    fields.edge = Image(kHeight, kWidth, 1, 1.0f);
    const Image marked =
        develop_plate_post(Image(kHeight, kWidth, 1, density), plate, curve, 40.0, fields);
    return mean_of(marked) - density;
  };
  const double veil = grown(0.0, 0.1f);
  // The mean of max(1 + f1 + 1.1 f2, 0), the fine field at 0.78 of its deviation by the pixel.
  EXPECT_NEAR(0.06 * 1.16, veil, 0.012);
  const double one = grown(1.0, 0.1f) - veil, two = grown(2.0, 0.1f) - veil;
  EXPECT_GT(one, 0.002);
  EXPECT_GT(two, 1.5 * one);
  EXPECT_LT(grown(2.0, 1.55f) - veil, 0.1 * two);
}

TEST(Plate, IsBareBeyondTheCoatingAndIntensifiesToItsOwnDensity) {
  const Image plate = developed(wet_film(), Image(kHeight, kWidth, 3, 5.0f));
  const auto [thinnest, densest] = std::ranges::minmax(plate.data);
  EXPECT_NEAR(0.1 - 0.9, thinnest, 1e-6);
  EXPECT_GT(densest + 0.9, 1.4);
  for (const auto& [intensify, most] : {std::pair{0.0, 1.6}, {0.5, 2.0}, {9.0, 2.4}}) {
    const Json options = {{"plate_pour", 0}, {"intensify", intensify}};
    EXPECT_NEAR(most, developed(wet_film(), Image(1, 1, 3, 1e6f), options).at(0, 0) + 0.9, 1e-3);
    EXPECT_NEAR(0.0, developed(wet_film(), Image(1, 1, 3, 0.18f), options).at(0, 0), 1e-3);
  }
}

TEST(DryPlate, IsExposedMoreAndFoggedAtItsEdge) {
  Json film = Json::parse(R"({"type": "bw", "grain": {"amount": 0},
    "negative": {"dmin": 0.1, "dmax": 2.2, "gamma": 0.7},
    "dryplate": {"edge_gain": 0.4, "frill": 0, "hold_mm": 0}})");
  const auto densest = [&](double edge_fog, float light) {
    film["dryplate"]["edge_fog"] = edge_fog;
    return std::ranges::max(developed(film, Image(kHeight, kWidth, 3, light)).data);
  };
  EXPECT_NEAR(0.7 * std::log10(1.4), densest(0.0, 0.18f), 0.01);
  EXPECT_NEAR(0.5 * 0.4, densest(0.5, 0.0f) - densest(0.0, 0.0f), 0.005);
}

TEST(Plate, WildNumbersLeaveAPicture) {
  Json film = wet_film();
  film["collodion"] = 5;
  EXPECT_EQ(0.5, plate_params(film, Json::object()).crystal);
  film["collodion"] = Json::object();
  for (const double wild : {1e30, -1e30, 0.0, std::nan("")}) {
    for (const char* key : {"veil", "crystal", "slope", "crescent", "wander", "edge_gain",
                            "frill_mm", "frill", "wave_mm", "hold_mm", "edge_rough"})
      film["collodion"][key] = wild;
    for (const double px_um : {1e-9, 50.0, 1e9}) {
      const Json options = {{"plate_pour", wild == 0.0 ? 1.0 : wild}, {"push", 1e30}};
      for (const int w : {1, 2, 37})
        for (const float d : developed(film, Image(3, w, 3, 0.5f), options, px_um).data)
          ASSERT_TRUE(std::isfinite(d)) << wild;
    }
  }
}

}  // namespace
}  // namespace morva
