// Grain of both engines: amounts and sizes, the moments that stand for grains, the calibration,
// what the options ask for, and what the shipped films measure through round apertures.

#include "film/grain.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <numbers>

#include "film/classic_grain.h"
#include "film/granularity.h"
#include "film/growth_calibration.h"
#include "film/growth_grain.h"
#include "image/on_every_isa.h"
#include "image/resample.h"
#include "profiles/film.h"
#include "profiles/hd_curve.h"
#include "profiles/seeds.h"
#include "profiles/store.h"

namespace morva {
namespace {

constexpr double kBase = 0.1, kMost = 2.3;
const std::array<double, 3> kBases = {0.1, 0.4, 0.7}, kMosts = {2.3, 2.8, 3.1};
const Key kKey = {20260821, 1, 0};
const Json kGrain = {{"size_um", 14.0}, {"amount", 0.055}};

NormalSource seeded() {
  return [rng = rng_from_key({7})](std::size_t n) mutable { return rng.normals(n); };
}

// Sheets whose longest side is `long_um`.
Image grown_bw(const Image& silver, double long_um) {
  return add_grain_growth_bw(silver, kBase, kMost, long_um, kKey, kGrain, 1.0, 1.0, {});
}
Image grown_color(const Image& dyes, double long_um) {
  return add_grain_growth_color(dyes, kBases, kMosts, long_um, kKey, kGrain, 1.0, 1.0, {});
}

// Deviation of a sheet of one density with classic grain of 10 um on 5 um pixels.
double classic_deviation(float density) {
  const Json grain = {{"amount", 0.08}, {"size_um", 10.0}};
  return deviation_of(
      add_grain_bw(Image(200, 200, 1, density), 0.2, 2.3, grain, 5.0, 1.0, 1.0, seeded()));
}

TEST(ClassicGrain, ItsAmountIsTheBinomialDeviationAtDensityOne) {
  const double t = 1.0 / (2.3 - 0.2);
  EXPECT_NEAR(0.08 * std::sqrt(t * (1.0 - t)), classic_deviation(1.2f), 1e-5);
  // Fog has grain, and full density still shows it.
  const double middle = classic_deviation(1.25f);
  EXPECT_NEAR(std::sqrt(0.06 / (0.775 * 0.56)), classic_deviation(0.2f) / middle, 1e-4);
  EXPECT_NEAR(std::sqrt(0.583 / (0.775 * 0.56)), classic_deviation(2.3f) / middle, 1e-4);
}

TEST(ClassicGrain, FinerThanAPixelIsWeakerNotSharperAndLayersHaveTheirOwn) {
  Json grain = {{"amount", 0.06}, {"size_um", 4.5}};
  for (const auto& [px_um, amount] : {std::pair{10.0, 0.06f}, {50.0, 0.012f}}) {
    const auto layer = grain_layers_bw(0.2, 2.3, grain, px_um, 1.0, 1.0).at(0);
    EXPECT_EQ(0.45, layer.sigma_px);
    EXPECT_FLOAT_EQ(amount, layer.amount);
  }
  EXPECT_TRUE(grain_layers_bw(0.2, 2.3, grain, 1e6, 1.0, 1.0).empty());

  grain = {{"amount", 0.1}, {"size_um", 10.0}, {"layer_scale", {2.0, 0.0, 0.5}}};
  const auto planned = [&] { return grain_layers_color(kBases, kMosts, grain, 5.0, 1.0, 0.5); };
  ASSERT_EQ(2u, planned().size());
  EXPECT_FLOAT_EQ(0.025f, planned()[1].amount);
  EXPECT_DOUBLE_EQ(2.4, planned()[1].sigma_px);
  const Image even(64, 64, 3, 1.0f);
  const Image grainy = add_grain_color(even, kBases, kMosts, grain, 5.0, 1.0, 0.5, seeded());
  EXPECT_EQ(extract_channel(even, 1).data, extract_channel(grainy, 1).data);
  EXPECT_GT(deviation_of(extract_channel(grainy, 0)),
            3.0 * deviation_of(extract_channel(grainy, 2)));
  grain["layer_scale"] = {2.0, 0.5};  // not one number a layer: the usual three
  ASSERT_EQ(3u, planned().size());
  EXPECT_FLOAT_EQ(0.0675f, planned()[2].amount);
}

TEST(ClassicGrain, IsTheSameOnEveryIsaAndNothingWithoutAnAmount) {
  const Image picture = random_image(61, 83, 3);
  expect_same_on_every_isa(
      [&] { return add_grain_color(picture, kBases, kMosts, kGrain, 3.0, 1.0, 1.0, seeded()); });
  const NormalSource none;  // a draw would throw
  for (const double mult : {0.0, 5e-5, -1.0})
    EXPECT_TRUE(
        same_bits(picture, add_grain_color(picture, kBases, kMosts, kGrain, 6.0, 1.0, mult, none)));
}

TEST(Moments, OverlapIsTheMeanCorrelationOfAPixel) {
  for (const auto& [p, r] : {std::pair{14.0, 7.0}, {40.0, 3.0}, {2.0, 9.0}}) {
    constexpr int kSteps = 400;
    double line = 0.0;  // (1 / p^2) of the double integral of exp(-(x - y)^2 / 4 r^2)
    for (int i = 0; i < kSteps; ++i) {
      const double d = (i + 0.5) / kSteps;
      line += 2.0 * (1.0 - d) * std::exp(-d * d * p * p / (4.0 * r * r)) / kSteps;
    }
    EXPECT_NEAR(disc_overlap(p, r), line * line, 1e-5);
  }
}

// Grains of one rate over a pixel are a Poisson sum; over the rates it is summed in narrow steps.
TEST(Moments, AreThoseOfPoissonGrainsOfALognormalRate) {
  const double a = 0.06, cells = 40.0, shape = 0.3, lambda = 35.0;
  for (const double sigma : {0.0, 0.1, 0.4}) {
    double weights = 0.0, mean = 0.0, of_grains = 0.0, square_of_mean = 0.0;
    for (int i = -800; i <= 800; ++i) {
      const double node = i * 0.01, weight = std::exp(-node * node / 2.0);
      const double rate = lambda * std::exp(sigma * node - sigma * sigma / 2.0);
      const double light = std::exp(-rate * (1.0 - std::exp(-a)));
      weights += weight;
      mean += weight * light;
      square_of_mean += weight * light * light;
      of_grains += weight * (std::exp(-rate * (1.0 - std::exp(-2.0 * a))) - light * light);
    }
    mean /= weights;
    const double variance =
        of_grains / weights / cells + shape * (square_of_mean / weights - mean * mean);
    const Moments moments =
        grain_moments(static_cast<float>(lambda), silver_moments(sigma, a, cells, shape));
    EXPECT_NEAR(moments.mean / mean, 1.0, 1e-6) << sigma;
    EXPECT_NEAR(moments.variance / variance, 1.0, 1e-5) << sigma;
  }
}

// A film of 200 pixels of `um_per_px`.
GrowthPlan bw_plan(double um_per_px) {
  return growth_plan_bw({200, 100}, kBase, kMost, 200.0 * um_per_px, kGrain, 1.0, 1.0);
}

// The patch, its moments, and the same film grown grain by grain.
TEST(GrowthGrain, MomentsStandForGrainsWherePixelsAreLarge) {
  // A reach of 7 um, and sub-samples of about 2 um.
  EXPECT_TRUE(!bw_plan(13.99).analytic && bw_plan(14.0).analytic);
  EXPECT_TRUE(bw_plan(14.0).ss == 7 && bw_plan(0.9).ss == 1);
  const GrowthPlan plan = bw_plan(18.0);
  ASSERT_TRUE(plan.active && plan.analytic);
  const auto grains = silver_moments(plan.sigma[0], plan.a, plan.n_cells, plan.shape);
  for (const double above : {0.3, 1.0}) {
    const double lambda = std::numbers::ln10 * above + 0.05;
    const Moments moments = grain_moments(static_cast<float>(lambda * plan.k), grains);
    EXPECT_NEAR(moments.mean / std::exp(-lambda), 1.0, 0.02);
    Image light = grown_bw(Image(200, 200, 1, static_cast<float>(kBase + above)), 3600.0);
    for (float& d : light.data) d = std::pow(10.0f, static_cast<float>(kBase) - d);
    EXPECT_NEAR(mean_of(light) / moments.mean, 1.0, 0.005);
    EXPECT_NEAR(std::pow(deviation_of(light), 2) / moments.variance, 1.0, 0.04);
    const Image grown =
        grow_silver(Image(150, 150, 1, static_cast<float>(lambda)), {plan.ss, plan.sub_um},
                    {plan.t, plan.r_um, plan.sigma[0]}, {kKey, false, nullptr});
    EXPECT_NEAR(std::pow(deviation_of(grown), 2) / moments.variance, 1.0, 0.1) << above;
  }
}

TEST(GrowthGrain, StaysFiniteOnBrokenDensities) {
  const float broken[] = {NAN, INFINITY, -INFINITY, 3e38f, -3e38f, 0.0f};
  Image silver(12, 12, 1), dyes(12, 12, 3);
  for (Image* image : {&silver, &dyes})
    for (std::size_t i = 0; i < image->data.size(); ++i) image->data[i] = broken[i % 6];
  for (const double long_um : {12 * 6.0, 12 * 40.0})
    for (const Image& grainy : {grown_bw(silver, long_um), grown_color(dyes, long_um)})
      for (const float d : grainy.data) ASSERT_TRUE(d >= 0.0f && d < 7.0f) << d;
}

// The number that a fresh process finds first.
template <class Measure>
double in_a_process_of_its_own(const Measure& measure) {
  auto* value = static_cast<double*>(
      mmap(nullptr, sizeof(double), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  *value = std::nan("");
  if (fork() == 0) {
    *value = measure();
    _exit(0);
  }
  wait(nullptr);
  return *value;
}

TEST(GrowthCalibration, DoesNotRememberAnotherFilm) {
  // Films that agree in the digits that tell films apart, and one of another range.
  const auto silver = [](double size_um, double amount, double most) {
    return silver_sigma(size_um, amount, kBase, most);
  };
  const auto dye = [](double size_um, double most) {
    DyeStock stock{.size_um = size_um, .dmin = kBases, .dmax = kMosts};
    stock.dmax[1] = most;
    return calibrate_dyes(stock).unit[1];
  };
  const double alone = in_a_process_of_its_own([&] { return silver(11.1149, 0.0431949, 2.1); });
  const double dye_alone = in_a_process_of_its_own([&] { return dye(9.3349, kMosts[1]); });
  silver(11.1051, 0.0431851, 2.1);
  dye(9.3251, kMosts[1]);
  EXPECT_NE(silver(11.1149, 0.0431949, 3.4), alone);
  EXPECT_NE(dye(9.3251, 1.6), dye_alone);
  EXPECT_EQ(silver(11.1149, 0.0431949, 2.1), alone);
  EXPECT_EQ(dye(9.3349, kMosts[1]), dye_alone);
}

TEST(GrainEngine, FollowsTheOptions) {
  const RenderContext ctx;
  HdCurve curve;
  curve.dmin = kBase, curve.dmax = kMost;
  const Image even(40, 50, 1, 1.1f);
  const Json film = {{"grain", {{"size_um", 12.0}, {"amount", 0.05}, {"amount_rms", 0.09}}}};
  const auto with = [&](const Json& more) {
    Json options = {{"grain_engine", "growth"}, {"_format_long_um", 300.0}, {"seed", 5}};
    options.update(more);
    return add_grain(even, film, options, 6.0, curve, ctx);
  };
  const auto grown = [&](double amount, const Key& key) {
    return add_grain_growth_bw(even, kBase, kMost, 300.0, key,
                               {{"size_um", 12.0}, {"amount", amount}}, 1.0, 1.0, ctx);
  };
  EXPECT_TRUE(same_bits(with(Json::object()), grown(0.05, {5})));
  EXPECT_TRUE(same_bits(with({{"_growth_seed", {5, 1, 7}}}), grown(0.05, {5, 1, 7})));
  EXPECT_TRUE(same_bits(with({{"grain_rms", true}}), grown(0.09, {5})));
  for (const double mult : {0.0, 1e-4, -2.0})
    EXPECT_TRUE(same_bits(with({{"grain_mult", mult}}), even)) << mult;
  Rng draws = seeded_rng({{"seed", 5}}, kFilmStream);
  const Image classic = add_grain_bw(even, kBase, kMost, film["grain"], 6.0, 1.0, 1.0,
                                     [&](std::size_t n) { return draws.normals(n); });
  EXPECT_TRUE(same_bits(with({{"grain_engine", "classic"}}), classic));
}

TEST(RmsAperture, AveragesNoiseOverItsDisc) {
  // Pixels within the radius of a lattice point (the Gauss circle problem).
  const std::pair<double, int> discs[] = {{1.0, 5}, {2.0, 13}, {4.0, 49}, {5.0, 81}};
  Image noise(600, 600, 1);
  noise.data = counter_normals(1, 0, noise.data.size());
  for (const auto& [radius_px, pixels] : discs) {
    const double expected = 1.0 / std::sqrt(pixels);
    EXPECT_NEAR(expected, rms_aperture(noise, 24.0 / radius_px), 0.02 * expected);
  }
  for (const double um_per_px : {6.0, 0.0, -1.0, 1e-300})
    EXPECT_EQ(0.0, rms_aperture(random_image(8, 40, 1), um_per_px));
}

struct Stock {
  Json grain;
  bool silver;
  std::array<double, 3> dmin, dmax;  // of silver the first
};

Stock shipped(const std::string& name) {
  static const ProfileStore maker{std::filesystem::path(MORVA_PROFILES_PATH)};
  const Json film = maker.load("films", name);
  Stock stock = {film.at("grain"), film.at("type") == "bw", {}, {}};
  for (int k = 0; k < 3; ++k) {
    const Json& curve = stock.silver ? film.at("negative") : film.at("layers").at(kLayerNames[k]);
    stock.dmin[k] = curve.at("dmin");
    stock.dmax[k] = curve.at("dmax");
  }
  return stock;
}

std::vector<double> classic_granularity(const Stock& stock) {
  if (stock.silver) return {classic_sigma48(stock.grain, stock.dmin[0], stock.dmax[0])};
  const auto sigma48 = classic_sigma48_color(stock.grain, stock.dmin, stock.dmax);
  return {sigma48.begin(), sigma48.end()};
}

// The layers of a sheet of density 1.0 above base, grown with draws that calibration never saw.
std::vector<Image> grown_sheet(const Stock& stock, int side) {
  const auto& [grain, silver, dmin, dmax] = stock;
  Image sheet(side, side, silver ? 1 : 3);
  for (std::size_t i = 0; i < sheet.data.size(); ++i)
    sheet.data[i] = static_cast<float>(dmin[i % sheet.c] + 1.0);
  const double um = side * kSheetPxUm;
  if (silver) return {add_grain_growth_bw(sheet, dmin[0], dmax[0], um, {5}, grain, 1.0, 1.0, {})};
  sheet = add_grain_growth_color(sheet, dmin, dmax, um, {5}, grain, 1.0, 1.0, {});
  return {extract_channel(sheet, 0), extract_channel(sheet, 1), extract_channel(sheet, 2)};
}

TEST(Granularity, OfTheShippedFilmsFitsTheirSpeed) {
  // RMS granularity x 1000 of each layer.
  const std::pair<const char*, std::vector<double>> films[] = {
      {"silver_50", {8.0}},
      {"silver_125", {11.0}},
      {"silver_400", {17.0}},
      {"silver_3200", {25.0}},
      {"daylight_100", {4.35, 4.05, 5.75}},
      {"everyday_400", {6.7, 6.2, 8.8}},
      {"daylight_1600", {10.5, 9.8, 15.0}}};
  for (const auto& [film, nominal] : films) {
    Stock stock = shipped(film);
    const std::vector<double> classic = classic_granularity(stock);
    const std::vector<Image> grown = grown_sheet(stock, 1024);
    ASSERT_EQ(nominal.size(), grown.size());
    stock.grain["amount"] = get_number(stock.grain, "amount_rms", 0.0);
    const std::vector<double> by_rms = classic_granularity(stock);
    for (std::size_t k = 0; k < grown.size(); ++k) {
      SCOPED_TRACE(std::string(film) + ", layer " + std::to_string(k));
      const double growth = rms_aperture(grown[k], kSheetPxUm);
      std::printf("%-14s layer %zu, RMS granularity x 1000: classic %.2f, growth %.2f\n", film, k,
                  1e3 * classic[k], 1e3 * growth);
      EXPECT_NEAR(1.0, growth / classic[k], 0.05);
      EXPECT_NEAR(1.0, 1e3 * classic[k] / nominal[k], 0.1);
      EXPECT_NEAR(1.0, 1e3 * growth / nominal[k], 0.1);
      EXPECT_NEAR(1.0, 1e3 * by_rms[k] / nominal[k], 0.02);
    }
  }
}

// Selwyn's law: grains lie at random, so that the deviation falls as the root of the aperture's
// area. Clumps that a small aperture resolves break it, so the coarsest films are the hard case.
// An aperture s times as large is the standard one on pixels said to be s times as small; the large
// ones are as round on pixels of twice the size. A sheet of 15 mm tells the ratio to 0.6 %.
TEST(Granularity, FallsWithTheRootOfTheApertureArea) {
  constexpr int kSide = 2560;
  for (const char* film : {"silver_400", "silver_3200", "daylight_100", "daylight_1600"}) {
    for (const Image& layer : grown_sheet(shipped(film), kSide)) {
      const Image halves = pil_resize(layer, kSide / 2, kSide / 2, kResizeBox);
      std::vector<double> constants = {rms_aperture(layer, kSheetPxUm)};
      for (const double scale : {2.0, 3.0, 4.0})
        constants.push_back(scale * rms_aperture(halves, 2.0 * kSheetPxUm / scale));
      const auto [least, most] = std::ranges::minmax(constants);
      EXPECT_LT(most / least, 1.15) << film << ", " << testing::PrintToString(constants);
    }
  }
}

}  // namespace
}  // namespace morva
