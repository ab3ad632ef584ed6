// Sub-samples grown grain by grain against their plain form, bit for bit, and against the physics:
// counts, deviates and the light that passes.

#include "film/growth_simulation.h"

#include <pthread.h>

#include <numbers>
#include <thread>

#include "film/normal_deviate.h"
#include "image/elementary.h"
#include "image/filters.h"
#include "image/noise.h"
#include "image/on_every_isa.h"
#include "image/resample.h"
#include "image/vector/single_exponential.h"

namespace morva {
namespace {

// Grain by growth, plain: one sub-sample at a time and every field held whole, slow and easy to
// read. The engine's own is held against it, bit for bit.
namespace plain {

namespace formula = elementary::formula;

// The z that a standard normal falls below with the chance u. In a tail of y standard deviations
// over the root of 2, erfc(y) is twice the tail's chance; log erfc is concave, so Newton's method
// finds y from any start.
double normal_deviate(float u) {
  const double chance = std::clamp(u, 1e-7f, 0.9999999f);
  const double log_tails = std::log(2.0 * std::min(chance, 1.0 - chance));
  double y = 0.0;
  for (int i = 0; i < 100; ++i) {
    const double tails = std::erfc(y);
    const double slope = -2.0 / std::sqrt(std::numbers::pi) * std::exp(-y * y) / tails;
    const double step = (std::log(tails) - log_tails) / slope;
    y -= step;
    if (std::fabs(step) < 1e-15) break;
  }
  return (chance < 0.5 ? -y : y) * std::sqrt(2.0);
}

// Grains that an expected count of x gives at the chance u: a normal law from 8 up, below it the
// cumulative chances that u has passed.
float poisson_inverse(float u, float x) {
  x = std::max(x, 1e-9f);
  if (x >= 8.0f) {
    const double mean = x;
    return static_cast<float>(
        std::max(0.0, std::nearbyint(mean + normal_deviate(u) * std::sqrt(mean))));
  }
  float chance = formula::single_exp(-x);
  float cumulative = chance;
  float count = 0.0f;
  for (int k = 0; k < 20; ++k) {
    if (cumulative < u) count += 1.0f;
    chance = (chance * x) * (1.0f / static_cast<float>(k + 1));
    cumulative += chance;
  }
  return count;
}

// Rows y0 up to y1 of the sub-samples and `pad` more on either side, negative ones included.
struct Strip {
  int y0, y1, pad;
};

std::vector<Strip> strips_of(int rows, double reach) {
  std::vector<Strip> strips;
  for (int y0 = 0; y0 < rows; y0 += 1536)
    strips.push_back({y0, std::min(y0 + 1536, rows), static_cast<int>(std::ceil(reach))});
  return strips;
}

// The lognormal rate of the padded strip: its mean is 1 and its logarithm deviates by sigma.
Image rates(const Strip& strip, int width, double grain_px, double sigma,
            const GrowthDraws& draws) {
  Image rate = gaussian_noise_image(draws.key, strip.y0 - strip.pad, strip.y1 + strip.pad, width,
                                    grain_px, draws.counter);
  const double deviation =
      standard_deviation(&rate.at(strip.pad, 0), (strip.y1 - strip.y0) * width);
  const auto scale = static_cast<float>(sigma / std::max(1e-6, deviation));
  const auto shift = static_cast<float>(sigma * sigma / 2.0);
  for (float& g : rate.data) g = formula::single_exp(g * scale - shift);
  return rate;
}

// Transmission of each sub-sample of silver.
Image sim_bw(const Image& lambda, double sub_um, const SilverGrains& grains,
             const GrowthDraws& draws) {
  const double a = std::min((grains.t_um / sub_um) * (grains.t_um / sub_um), 1.0);
  const auto area = static_cast<float>(a);
  const auto k = static_cast<float>(1.0 / (1.0 - elementary::exp(-a)));
  const double grain_px = std::max(0.6, grains.r_um / sub_um);
  Image transmission(lambda.h, lambda.w, 1);
  for (const Strip& strip : strips_of(lambda.h, 4.0 * grain_px)) {
    const Image rate = rates(strip, lambda.w, grain_px, grains.sigma, draws);
    const std::size_t count = (strip.y1 - strip.y0) * lambda.w;
    const std::vector<float> u = row_uniforms(draws.key, strip.y0, count, draws.counter);
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t at = strip.y0 * lambda.w + i;
      const float expected = (rate.data[strip.pad * lambda.w + i] * lambda.data[at]) * k;
      transmission.data[at] = formula::single_exp(-(poisson_inverse(u[i], expected) * area));
    }
  }
  return transmission;
}

// Transmission of each sub-sample of one dye layer, from its density above base.
Image sim_color(const Image& above, double sub_um, const DyeGrains& grains,
                const GrowthDraws& draws) {
  const auto grains_per_density = static_cast<float>(1.0 / std::max(grains.unit, 1e-4));
  const auto grain_density = static_cast<float>(grains.unit);
  const double grain_px = std::max(0.6, grains.r_um / sub_um);
  const double cloud_px = grains.cloud_um / sub_um;
  Image transmission(above.h, above.w, 1);
  for (const Strip& strip : strips_of(above.h, 4.0 * std::max(grain_px, cloud_px))) {
    Image density = rates(strip, above.w, grain_px, grains.sigma, draws);
    const auto u = row_uniforms(draws.key, strip.y0, density.data.size(), draws.counter);
    for (int y = 0; y < density.h; ++y)
      for (int x = 0; x < density.w; ++x) {
        const int source = std::clamp(strip.y0 - strip.pad + y, 0, above.h - 1);
        const float expected = (density.at(y, x) * above.at(source, x)) * grains_per_density;
        density.at(y, x) = poisson_inverse(u[y * density.w + x], expected) * grain_density;
      }
    if (cloud_px > 0.05) density = gaussian_filter(density, cloud_px, kBoundaryReflect);
    for (int y = strip.y0; y < strip.y1; ++y)
      for (int x = 0; x < density.w; ++x)
        transmission.at(y, x) = formula::single_exp10(-density.at(y - strip.y0 + strip.pad, x));
  }
  return transmission;
}

// Means of whole blocks of ss x ss sub-samples; columns are summed first.
Image box_down(const Image& img, int ss) {
  Image means(img.h / ss, img.w / ss, 1);
  for (int y = 0; y < means.h; ++y)
    for (int x = 0; x < means.w; ++x) {
      double sum = 0.0;
      for (int dx = 0; dx < ss; ++dx) {
        double column = 0.0;
        for (int dy = 0; dy < ss; ++dy) column += img.at(y * ss + dy, x * ss + dx);
        sum += column;
      }
      means.at(y, x) = static_cast<float>(sum / (ss * ss));
    }
  return means;
}

}  // namespace plain

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
    int h, w;
    SubSampling sub;
  };
  for (const auto& [h, w, sub] : {Case{5, 7, {3, 1.7}},
                                  {520, 9, {3, 2.0}},
                                  {1, 1, {6, 2.1}},
                                  {310, 11, {5, 1.9}},
                                  {70, 300, {1, 2.0}},
                                  {3, 401, {2, 0.8}}})
    for (const bool counter : {false, true}) {
      const int n = sub.per_side;
      const GrowthDraws draws = {{9, 1, 0}, counter, nullptr};
      const Image lambda = uneven(h, w, 5.0f), density = uneven(h, w, 2.2f);
      const SilverGrains silver = {0.5, 7.0, 0.05};
      const Image depths = pil_resize(lambda, w * n, h * n, kResizeTriangle);
      EXPECT_TRUE(same_bits(grow_silver(lambda, sub, silver, draws),
                            plain::box_down(plain::sim_bw(depths, sub.sub_um, silver, draws), n)))
          << h << " x " << w;
      const Image dyed = pil_resize(density, w * n, h * n, kResizeTriangle);
      for (const double cloud_um : {2.5, 0.01, 12.0}) {
        const DyeGrains dye = {0.05, cloud_um, 8.0, 0.03};
        EXPECT_TRUE(same_bits(grow_dye(density, sub, dye, draws),
                              plain::box_down(plain::sim_color(dyed, sub.sub_um, dye, draws), n)))
            << h << " x " << w << ", cloud " << cloud_um;
      }
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

// Poisson grains that each let 10^-unit pass; clouds that spread bring it nearer to 10^-density.
TEST(Growth, GrainsLetTheLightOfTheirDensityPass) {
  const GrowthDraws draws = {{20260821, 1, 0}, false, nullptr};
  for (const double density : {0.05, 0.4, 1.0, 1.8}) {
    const double lambda = std::numbers::ln10 * density + 0.05;
    const Image depth(96, 96, 1, static_cast<float>(lambda));
    const double silver = mean_of(grow_silver(depth, {4, 2.0}, {0.5, 7.0, 0.0}, draws));
    EXPECT_NEAR(silver / std::exp(-lambda), 1.0, 0.01) << density;
    for (const double unit : {0.05, 0.4}) {
      const Image even(96, 96, 1, static_cast<float>(density));
      const double of_grains = std::exp(-density / unit * (1.0 - std::pow(10.0, -unit)));
      const double alone = mean_of(grow_dye(even, {4, 2.0}, {unit, 0.0, 8.0, 0.0}, draws));
      const double clouds = mean_of(grow_dye(even, {4, 2.0}, {unit, 4.0, 8.0, 0.0}, draws));
      EXPECT_NEAR(alone / of_grains, 1.0, 0.04) << density << ", unit " << unit;
      EXPECT_TRUE(clouds < 1.01 * alone && clouds > 0.97 * std::pow(10.0, -density)) << clouds;
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
  EXPECT_THROW(grow_dye(tall, {3, 2.0}, {}, {{9}, false, &ctx}), Cancelled);
  over = true;
  host.join();
}

}  // namespace
}  // namespace morva
