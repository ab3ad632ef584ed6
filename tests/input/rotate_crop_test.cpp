// Cropping and straightening of pixels.

#include "input/rotate_crop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "image/on_every_isa.h"
#include "input/failure_of.h"
#include "morva.h"

namespace morva {
namespace {

// The definition, a sample at a time in double.
double cubic_at(const Image& image, double x, double y, int k) {
  const auto weight = [](double d) {
    d = std::fabs(d);
    return d <= 1.0  ? 1.5 * d * d * d - 2.5 * d * d + 1.0
           : d < 2.0 ? -0.5 * d * d * d + 2.5 * d * d - 4.0 * d + 2.0
                     : 0.0;
  };
  double sum = 0.0;
  for (int i = static_cast<int>(std::floor(y)) - 2; i <= std::floor(y) + 3; ++i)
    for (int j = static_cast<int>(std::floor(x)) - 2; j <= std::floor(x) + 3; ++j)
      sum += weight(i + 0.5 - y) * weight(j + 0.5 - x) *
             image.at(std::clamp(i, 0, image.h - 1), std::clamp(j, 0, image.w - 1), k);
  return sum;
}

TEST(RotateCrop, FollowsTheCubicAtEverySizeAndChannelCount) {
  for (const auto& [h, w] : {std::pair{1, 1}, {1, 9}, {7, 1}, {3, 4}, {5, 5}, {37, 131}, {150, 67}})
    for (int c = 1; c <= 4; ++c)
      for (const double angle : {0.3, -7.0, 45.0, 90.0, 200.0}) {
        const Image image = random_image(h, w, c);
        const Image turned = rotate_crop_input(image, Json(), angle);
        for (const vector::Isa isa : {vector::Isa::baseline, vector::Isa::avx2}) {
          vector::use_isa(isa);
          EXPECT_TRUE(same_bits(turned, rotate_crop_input(image, Json(), angle)));
        }
        vector::use_isa(vector::best_isa());
        double worst = 0.0;
        for (int y = 0; y < h; ++y)
          for (int x = 0; x < w; ++x)
            for (int k = 0; k < c; ++k) {
              double at[2];
              morva_rot_offsets(x + 0.5 - w / 2.0, y + 0.5 - h / 2.0, angle, at);
              const double want = cubic_at(image, at[0] + w / 2.0, at[1] + h / 2.0, k);
              worst = std::max(worst, std::fabs(turned.at(y, x, k) - want));
            }
        EXPECT_LT(worst, 4e-6) << h << " x " << w << " x " << c << " at " << angle;
      }
}

TEST(RotateCrop, ACropIsAPartOfTheTurnedPicture) {
  const Image image = random_image(60, 90, 3);
  for (const double angle : {0.0, -12.0}) {
    const Image whole = rotate_crop_input(image, Json(), angle);
    const Image part = rotate_crop_input(image, {0.2, 0.1, 0.5, 0.6}, angle);
    ASSERT_EQ(45 * 36 * 3u, part.data.size());
    for (int y = 0; y < 36; ++y)
      for (int x = 0; x < 45; ++x) ASSERT_EQ(whole.at(y + 6, x + 18, 1), part.at(y, x, 1)) << angle;
    EXPECT_EQ(1, rotate_crop_input(image, {0.5, 0, 0, 1}, angle).w);
  }
  EXPECT_EQ(6, rotate_crop_input(random_image(4, 4, 6), {0, 0, 0.5, 1}, 0.0).c);
  EXPECT_EQ("rotate_crop_input: не больше 4 каналов",
            testing_files::failure_of([] { rotate_crop_input(Image(4, 4, 6), Json(), 1.0); }));
  // A picture that nothing is done to is not copied: its samples stay where they are.
  Image kept = image;
  const float* samples = kept.data.data();
  EXPECT_EQ(samples, rotate_crop_input(std::move(kept), {0, 0, 1, 1}, 0.0).data.data());
}

}  // namespace
}  // namespace morva
