// What stands around the growing of grain: its moments, the choice between them and sub-samples,
// the calibration, and what the options ask for.

#include "film/growth_grain.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "film/classic_grain.h"
#include "film/grain.h"
#include "film/growth_calibration.h"
#include "film/growth_simulation.h"
#include "image/on_every_isa.h"
#include "image/pairwise_sum.h"
#include "profiles/seeds.h"

namespace morva {
namespace {

constexpr double kBase = 0.1, kMost = 2.3;
const std::array<double, 3> kBases = {0.1, 0.4, 0.7}, kMosts = {2.3, 2.8, 3.1};
const Key kKey = {20260821, 1, 0};
const Json kGrain = {{"size_um", 14.0}, {"amount", 0.055}};

double variance_of(const Image& image) {
  return std::pow(standard_deviation(image.data.data(), image.data.size()), 2);
}

// Sheets whose longest side is `long_um`.
Image grainy_bw(const Image& silver, double long_um) {
  return add_grain_growth_bw(silver, kBase, kMost, long_um, kKey, kGrain, 1.0, 1.0, {});
}
Image grainy_color(const Image& dyes, double long_um) {
  return add_grain_growth_color(dyes, kBases, kMosts, long_um, kKey, kGrain, 1.0, 1.0, {});
}

using GrowthMoments = OnEveryIsa;
INSTANTIATE_TEST_SUITE_P(Isa, GrowthMoments, testing::ValuesIn(available_isas()), isa_name);

TEST_P(GrowthMoments, HaveTheSameBits) {
  const Image silver = random_image(37, 61, 1), dyes = random_image(37, 61, 3);
  const Image grey = grainy_bw(silver, 61 * 40.0), colour = grainy_color(dyes, 61 * 40.0);
  vector::use_isa(vector::Isa::baseline);
  EXPECT_TRUE(same_bits(grey, grainy_bw(silver, 61 * 40.0)));
  EXPECT_TRUE(same_bits(colour, grainy_color(dyes, 61 * 40.0)));
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

TEST(GrowthPlan, TakesMomentsWherePixelsAreLarge) {
  // A reach of 7 um, and sub-samples of about 2 um.
  EXPECT_FALSE(bw_plan(13.99).analytic);
  EXPECT_TRUE(bw_plan(14.0).analytic);
  EXPECT_EQ(bw_plan(14.0).ss, 7);
  EXPECT_EQ(bw_plan(0.9).ss, 1);
}

// The patch, its moments, and the same film grown grain by grain.
TEST(GrowthGrain, MomentsStandForGrains) {
  const GrowthPlan plan = bw_plan(18.0);
  ASSERT_TRUE(plan.active && plan.analytic);
  const auto grains = silver_moments(plan.sigma[0], plan.a, plan.n_cells, plan.shape);
  for (const double above : {0.3, 1.0}) {
    const double lambda = std::numbers::ln10 * above + 0.05;
    const Moments moments = grain_moments(static_cast<float>(lambda * plan.k), grains);
    EXPECT_NEAR(moments.mean / std::exp(-lambda), 1.0, 0.02);
    Image light = grainy_bw(Image(200, 200, 1, static_cast<float>(kBase + above)), 3600.0);
    for (float& d : light.data) d = std::pow(10.0f, static_cast<float>(kBase) - d);
    const double mean = mean_and_deviation(light.data.data(), light.data.size()).mean;
    EXPECT_NEAR(mean / moments.mean, 1.0, 0.005);
    EXPECT_NEAR(variance_of(light) / moments.variance, 1.0, 0.04);
    const Image grown =
        grow_silver(Image(150, 150, 1, static_cast<float>(lambda)), {plan.ss, plan.sub_um},
                    {plan.t, plan.r_um, plan.sigma[0]}, {kKey, false, nullptr});
    EXPECT_NEAR(variance_of(grown) / moments.variance, 1.0, 0.1) << above;
  }
}

TEST(GrowthGrain, StaysFiniteOnBrokenDensities) {
  constexpr float kInf = std::numeric_limits<float>::infinity();
  const float broken[] = {std::nanf(""), kInf, -kInf, 3e38f, -3e38f, 0.0f};
  Image silver(12, 12, 1), dyes(12, 12, 3);
  for (Image* image : {&silver, &dyes})
    for (std::size_t i = 0; i < image->data.size(); ++i) image->data[i] = broken[i % 6];
  for (const double long_um : {12 * 6.0, 12 * 40.0})
    for (const Image& grainy : {grainy_bw(silver, long_um), grainy_color(dyes, long_um)})
      for (const float d : grainy.data) ASSERT_TRUE(d >= 0.0f && d < 7.0f) << d;
}

// The number that a fresh process finds first.
template <class Measure>
double in_a_process_of_its_own(const Measure& measure) {
  int ends[2];
  if (pipe(ends) != 0) return std::nan("");
  const pid_t child = fork();
  if (child == 0) {
    const double value = measure();
    _exit(write(ends[1], &value, sizeof value) == sizeof value ? 0 : 1);
  }
  close(ends[1]);
  double value = std::nan("");
  if (read(ends[0], &value, sizeof value) != sizeof value) value = std::nan("");
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return value;
}

TEST(GrowthCalibration, DoesNotRememberAnotherFilm) {
  // Films that agree in the digits that tell films apart, and one of another range.
  const auto silver = [](double size_um, double amount, double most) {
    return silver_sigma(size_um, amount, kBase, most);
  };
  const auto dye = [](double size_um, double most) {
    DyeStock stock;
    stock.size_um = size_um;
    stock.dmin = kBases, stock.dmax = kMosts;
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

}  // namespace
}  // namespace morva
