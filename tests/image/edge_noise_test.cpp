#include "image/edge_noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

#include "image/pairwise_sum.h"

namespace morva {
namespace {

TEST(NoiseLine, HasUnitVarianceAndDrawsByItsLengthAlone) {
  for (const std::size_t n : {2u, 7u, 640u})
    for (const double sigma :
         {-1.0, 0.0, 0.8, 128.0, 1e30, std::numeric_limits<double>::quiet_NaN()}) {
      Rng rng = rng_from_key({5, 2, 0}), skipped = rng;
      const std::vector<float> line = noise_line(rng, n, sigma);
      ASSERT_EQ(line.size(), n);
      EXPECT_NEAR(std::accumulate(line.begin(), line.end(), 0.0) / static_cast<double>(n), 0.0,
                  1e-5);
      const double deviation = standard_deviation(line.data(), n);
      // A line blurred over several times its length may have nothing left to scale.
      if (sigma < 0.3 * static_cast<double>(n)) {
        EXPECT_NEAR(deviation, 1.0, 1e-4) << n << " " << sigma;
      }
      EXPECT_LE(deviation, 1.0001);
      skipped.skip_normals(n);
      EXPECT_EQ(rng.next(), skipped.next());
    }
  Rng rng = rng_from_key({5, 2, 0});
  EXPECT_EQ(noise_line(rng, 1, 0.8), std::vector<float>{0.0f});
  EXPECT_TRUE(noise_line(rng, 0, 0.8).empty());
}

}  // namespace
}  // namespace morva
