// The classic grain and the aperture that it is measured through.

#include "film/classic_grain.h"

#include <gtest/gtest.h>

#include <cmath>

#include "film/granularity.h"
#include "image/on_every_isa.h"
#include "image/pairwise_sum.h"
#include "image/random.h"

namespace morva {
namespace {

constexpr double kBase = 0.2, kMost = 2.3;

NormalSource seeded() {
  return [rng = rng_from_key({7})](std::size_t n) mutable { return rng.normals(n); };
}

double deviation(const Image& plane) {
  return standard_deviation(plane.data.data(), plane.data.size());
}

// Deviation of a sheet of one density with grain of `amount` and `size_um` on 5 um pixels.
double grain_deviation(float density, double amount, double size_um) {
  const Json grain = {{"amount", amount}, {"size_um", size_um}};
  return deviation(
      add_grain_bw(Image(200, 200, 1, density), kBase, kMost, grain, 5.0, 1.0, 1.0, seeded()));
}

TEST(ClassicGrain, ItsAmountIsTheBinomialDeviationAtDensityOne) {
  const double t = 1.0 / (kMost - kBase);
  EXPECT_NEAR(0.08 * std::sqrt(t * (1.0 - t)), grain_deviation(1.2f, 0.08, 10.0), 1e-5);
  // Fog has grain, and full density still shows it.
  const double middle = grain_deviation(1.25f, 0.08, 10.0);
  EXPECT_NEAR(std::sqrt(0.06 / (0.775 * 0.56)), grain_deviation(0.2f, 0.08, 10.0) / middle, 1e-4);
  EXPECT_NEAR(std::sqrt(0.583 / (0.775 * 0.56)), grain_deviation(2.3f, 0.08, 10.0) / middle, 1e-4);
}

TEST(ClassicGrain, FinerThanAPixelIsWeakerNotSharper) {
  const Json grain = {{"amount", 0.06}, {"size_um", 4.5}};
  for (const auto& [px_um, amount] : {std::pair{10.0, 0.06f}, {50.0, 0.012f}}) {
    const auto layer = grain_layers_bw(kBase, kMost, grain, px_um, 1.0, 1.0).at(0);
    EXPECT_EQ(0.45, layer.sigma_px);
    EXPECT_FLOAT_EQ(amount, layer.amount);
  }
  EXPECT_TRUE(grain_layers_bw(kBase, kMost, grain, 1e6, 1.0, 1.0).empty());
}

TEST(ClassicGrain, LayersHaveSizesAndAmountsOfTheirOwn) {
  const std::array<double, 3> dmin = {0.1, 0.5, 0.8}, dmax = {2.1, 2.6, 3.0};
  Json grain = {{"amount", 0.1}, {"size_um", 10.0}, {"layer_scale", {2.0, 0.0, 0.5}}};
  const auto planned = [&] { return grain_layers_color(dmin, dmax, grain, 5.0, 1.0, 0.5); };
  ASSERT_EQ(2u, planned().size());
  EXPECT_FLOAT_EQ(0.025f, planned()[1].amount);
  EXPECT_DOUBLE_EQ(2.4, planned()[1].sigma_px);

  Image even(64, 64, 3, 1.0f);
  const Image grainy = add_grain_color(even, dmin, dmax, grain, 5.0, 1.0, 0.5, seeded());
  EXPECT_EQ(extract_channel(even, 1).data, extract_channel(grainy, 1).data);
  EXPECT_GT(deviation(extract_channel(grainy, 0)), 3.0 * deviation(extract_channel(grainy, 2)));

  grain["layer_scale"] = {2.0, 0.5};  // not one number a layer: the usual three
  ASSERT_EQ(3u, planned().size());
  EXPECT_FLOAT_EQ(0.0675f, planned()[2].amount);
}

TEST(ClassicGrain, NoAmountNoGrain) {
  const Image picture = random_image(9, 14, 3);
  const Json grain = {{"amount", 0.1}};
  const NormalSource none = [](std::size_t) -> std::vector<float> {
    ADD_FAILURE() << "a draw for grain that is not there";
    return {};
  };
  for (const double mult : {0.0, 5e-5, -1.0})
    EXPECT_TRUE(same_bits(
        picture, add_grain_color(picture, {0, 0, 0}, {2, 2, 2}, grain, 6.0, 1.0, mult, none)));
}

class ClassicGrainOnEveryIsa : public OnEveryIsa {};

TEST_P(ClassicGrainOnEveryIsa, IsTheSame) {
  const Json grain = {{"amount", 0.05}, {"size_um", 9.0}};
  const auto grainy = [&] {
    return add_grain_color(random_image(61, 83, 3), {0.1, 0.2, 0.3}, {2.0, 2.2, 2.4}, grain, 3.0,
                           1.0, 1.0, seeded());
  };
  const Image here = grainy();
  const double sigma48 = classic_sigma48(grain, kBase, kMost);
  vector::use_isa(vector::Isa::baseline);
  EXPECT_TRUE(same_bits(grainy(), here));
  EXPECT_EQ(classic_sigma48(grain, kBase, kMost), sigma48);
}

INSTANTIATE_TEST_SUITE_P(Isas, ClassicGrainOnEveryIsa, testing::ValuesIn(available_isas()),
                         isa_name);

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

}  // namespace
}  // namespace morva
