// Sub-samples grown grain by grain against their plain form, bit for bit, and against the physics:
// counts, deviates and the light that passes.

#include "film/growth_simulation.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cmath>
#include <numbers>
#include <numeric>
#include <random>
#include <thread>

#include "film/normal_deviate.h"
#include "film/plain_growth_grain.h"
#include "image/on_every_isa.h"
#include "image/resample.h"

namespace morva {
namespace {

const Key kKey = {20260821, 1, 0};

using GrowthSimulation = OnEveryIsa;
INSTANTIATE_TEST_SUITE_P(Isa, GrowthSimulation, testing::ValuesIn(available_isas()), isa_name);

// Noise between 0 and `top`, a good part of it 0.
Image uneven(std::int32_t h, std::int32_t w, float top) {
  Image image = random_image(h, w, 1);
  for (float& v : image.data) v = top * std::clamp(0.5f * v, 0.0f, 1.0f);
  return image;
}

// One pixel, rows that end inside a chunk, more than one strip of 1536 rows, blocks that straddle
// two strips, rows longer than a tile.
TEST_P(GrowthSimulation, HasTheBitsOfThePlainForm) {
  struct Case {
    int h, w, per_side;
    double sub_um;
  };
  for (const Case& c : {Case{5, 7, 3, 1.7},
                        {520, 9, 3, 2.0},
                        {1, 1, 6, 2.1},
                        {310, 11, 5, 1.9},
                        {70, 300, 1, 2.0},
                        {3, 401, 2, 0.8}})
    for (const bool counter : {false, true}) {
      const SubSampling sub = {c.per_side, c.sub_um};
      const GrowthDraws draws = {{9, 1, 0}, counter, nullptr};
      const auto enlarged = [&](const Image& image) {
        return pil_resize(image, image.w * c.per_side, image.h * c.per_side, kResizeTriangle);
      };
      const Image lambda = uneven(c.h, c.w, 5.0f);
      EXPECT_TRUE(same_bits(grow_silver(lambda, sub, {0.5, 7.0, 0.05}, draws),
                            plain::box_down(plain::sim_bw(enlarged(lambda), draws.key, c.sub_um,
                                                          0.5, 7.0, 0.05, counter),
                                            c.per_side)))
          << c.h << " x " << c.w;
      const Image density = uneven(c.h, c.w, 2.2f);
      for (const double cloud_um : {2.5, 0.01, 12.0})
        EXPECT_TRUE(
            same_bits(grow_dye(density, sub, {0.05, cloud_um, 8.0, 0.03}, draws),
                      plain::box_down(plain::sim_color(enlarged(density), draws.key, c.sub_um, 0.05,
                                                       cloud_um, 8.0, 0.03, counter),
                                      c.per_side)))
            << c.h << " x " << c.w << ", cloud " << cloud_um;
    }
}

struct Draws {
  std::vector<float> u, x, count;
};

// Rates of every size, and such as put x + z sqrt(x) next to the middle of two whole numbers.
Draws plain_draws() {
  std::mt19937_64 random(3);
  const auto part = [&] { return static_cast<float>(random() >> 40) * 0x1p-24f; };
  Draws draws;
  const auto add = [&draws](float u, float x) { draws.u.push_back(u), draws.x.push_back(x); };
  for (const float x : {-1.0f, 0.0f, 1e-12f, 0.3f, 7.9999995f, 8.0f, 8.000001f, 20.0f, 1048575.0f,
                        1048576.0f, 3e9f, 1e30f})
    for (const float u : {0.0f, 0x1p-24f, 2.3e-5f, 2.5e-5f, 0.5f, 0.99998f, 1.0f}) add(u, x);
  for (const float top : {2.0f, 8.5f, 12.0f, 40.0f, 400.0f, 20000.0f})
    for (int i = 0; i < 35000; ++i) add(part(), top * part());
  for (int i = 0; i < 30000; ++i) {
    const float u = part();
    const double z = plain::normal_deviate(u), middle = static_cast<double>(random() % 500) + 20.5;
    const double root = (std::sqrt(z * z + 4.0 * middle) - z) / 2.0;
    add(u, static_cast<float>(root * root * (1.0 + (part() - 0.5f) * 1e-6)));
  }
  for (std::size_t i = 0; i < draws.x.size(); ++i)
    draws.count.push_back(plain::poisson_inverse(draws.u[i], draws.x[i]));
  return draws;
}

TEST_P(GrowthSimulation, CountsInvertTheDistribution) {
  static const Draws draws = plain_draws();
  std::vector<float> counts(draws.x.size());
  poisson_inverse(draws.u.data(), draws.x.data(), counts.size(), counts.data());
  for (std::size_t i = 0; i < counts.size(); ++i)
    ASSERT_EQ(counts[i], draws.count[i]) << draws.u[i] << ", rate " << draws.x[i];
}

TEST(NormalDeviate, InvertsTheErrorFunction) {
  std::vector<float> chances = {0.0f, 1e-7f, 0.5f, 0.9999999f, 1.0f};
  for (float u = 1e-7f; u < 1.0f; u *= 1.0007f) chances.push_back(u), chances.push_back(1.0f - u);
  double worst = 0.0;
  for (const float u : chances)
    worst = std::max(worst, std::fabs(normal_deviate(u) - plain::normal_deviate(u)));
  EXPECT_LE(worst, 1e-14);
}

TEST(Growth, GrainsLetTheLightOfTheirDensityPass) {
  const auto mean_of = [](const Image& image) {
    return std::accumulate(image.data.begin(), image.data.end(), 0.0) /
           static_cast<double>(image.data.size());
  };
  const GrowthDraws draws = {kKey, false, nullptr};
  for (const double density : {0.05, 0.4, 1.0, 1.8}) {
    const double lambda = std::numbers::ln10 * density + 0.05;
    const Image silver =
        grow_silver(Image(96, 96, 1, static_cast<float>(lambda)), {4, 2.0}, {0.5, 7.0, 0.0}, draws);
    EXPECT_NEAR(mean_of(silver) / std::exp(-lambda), 1.0, 0.01) << density;
    // Poisson grains that each let 10^-unit pass; clouds that spread bring it nearer to
    // 10^-density.
    for (const double unit : {0.05, 0.4}) {
      const Image even(96, 96, 1, static_cast<float>(density));
      const double of_grains = std::exp(-density / unit * (1.0 - std::pow(10.0, -unit)));
      const double alone = mean_of(grow_dye(even, {4, 2.0}, {unit, 0.0, 8.0, 0.0}, draws));
      const double clouds = mean_of(grow_dye(even, {4, 2.0}, {unit, 4.0, 8.0, 0.0}, draws));
      EXPECT_NEAR(alone / of_grains, 1.0, 0.04) << density << ", unit " << unit;
      EXPECT_LT(clouds, 1.01 * alone);
      EXPECT_GT(clouds, 0.97 * std::pow(10.0, -density));
    }
  }
}

// A raster of some hundred strips; the flag rises when the first of them are surely behind.
TEST(Growth, CancelsBetweenStrips) {
  std::int32_t cancel = 0;
  RenderContext ctx;
  ctx.cancel = &cancel;
  clockid_t clock_here;
  ASSERT_EQ(0, pthread_getcpuclockid(pthread_self(), &clock_here));
  const auto worked_ms = [clock_here] {
    timespec now;
    clock_gettime(clock_here, &now);
    return now.tv_sec * 1000 + now.tv_nsec / 1000000;
  };
  const auto begin = worked_ms();
  std::atomic<bool> over = false;
  std::thread host([&] {
    while (!over && worked_ms() < begin + 50) std::this_thread::yield();
    std::atomic_ref<std::int32_t>(cancel).store(1);
  });
  const Image tall(400000, 1, 1, 1.0f);
  EXPECT_THROW(grow_dye(tall, {3, 2.0}, {}, {kKey, false, &ctx}), Cancelled);
  over = true;
  host.join();
}

}  // namespace
}  // namespace morva
