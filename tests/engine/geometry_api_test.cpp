// The crop tool and the orientation preview at the C boundary: hostile numbers and null pointers.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "engine/host.h"

namespace {

const double kNaN = std::nan("");
const double kInf = std::numeric_limits<double>::infinity();

// The code, and the size of what came back.
std::string oriented(const Scene& scene, const char* options) {
  MorvaImage out{reinterpret_cast<float*>(1), 1, 1, 1};
  const int code =
      morva_orient_input(scene.pixels.data(), scene.width, scene.height, options, &out, nullptr);
  const std::string told = std::to_string(code) + ": " + std::to_string(out.width) + "x" +
                           std::to_string(out.height) + (out.data == nullptr ? "" : " ") +
                           (out.data == nullptr ? "" : std::to_string(out.data[1]));
  morva_free(&out);
  return told;
}

TEST(OrientInput, ShowsWhatARenderTakesIn) {
  Scene scene(40, 20, 0.25f);
  scene.pixels[1] = std::nanf("");
  EXPECT_EQ("0: 40x20 0.000000", oriented(scene, nullptr));
  EXPECT_EQ("0: 18x10 0.250000", oriented(scene, R"({"crop": [0, 0.1, 0.25, 1], "crop_angle": 4,
      "rotate": 270, "mirror": true, "_source_gain": 3, "ev": 1})"));
  EXPECT_EQ("0: 1x1 0.250000", oriented(scene, R"({"crop": [1e300, 1e300, 1e308, -5],
      "crop_angle": -1e300, "rotate": 1e300})"));
  for (const char* options :
       {"{", "[1]", R"({"film": 1})", R"({"crop": [0, 0, 1]})", R"({"crop_angle": "steep"})"})
    EXPECT_EQ("3: 0x0", oriented(scene, options)) << options;
  MorvaError err;
  MorvaImage out;
  EXPECT_EQ(1, morva_orient_input(nullptr, 4, 3, nullptr, &out, nullptr));
  EXPECT_EQ(1, morva_orient_input(scene.pixels.data(), 4, 3, nullptr, nullptr, nullptr));
  EXPECT_EQ(1, morva_orient_input(scene.pixels.data(), 4, 0, nullptr, &out, &err));
  EXPECT_STREQ("morva_orient_input: пустой вход", err.message);
}

// Every number of every question replaced by every odd one: the answers stay finite.
TEST(CropTool, AnswersEveryNumber) {
  const double odd[] = {kNaN, kInf, -kInf, 0.0, -1.0, 1e300, -1e300, 1e-300, 1e9, 0.3};
  const int32_t sizes[] = {0, -1, 1, 600, 2147483647, -2147483647 - 1};
  for (int place = 0; place < 6; ++place)
    for (const double number : odd)
      for (const int32_t w : sizes)
        for (const int32_t h : sizes) {
          double crop[] = {0.1, 0.2, 0.5, 0.4};
          double angle = 7.0, other = 1.5;
          (place < 4 ? crop[place] : place == 4 ? angle : other) = number;
          double out[26];
          morva_crop_corners(crop, angle, w, h, out);
          morva_crop_scale(crop, 1, other, w, h, h, out + 8);
          morva_crop_fit_to_angle(nullptr, 1, angle, w, h, w, crop, out + 12);
          morva_crop_expand(crop, 1, w, h, other, angle, out + 16);
          morva_crop_expand(crop, 1, w, h, -other, 0.0, out + 20);
          morva_rot_offsets(other, crop[0], angle, out + 24);
          for (const double answer : out)
            ASSERT_TRUE(std::isfinite(answer)) << place << ": " << number << ", " << w << "x" << h;
          ASSERT_TRUE(std::isfinite(morva_crop_max_scale(crop, 1, angle, w, h)));
          ASSERT_TRUE(std::isfinite(morva_straighten_angle(crop[0], crop[1], other, angle)));
          morva_crop_fits(crop, 1, angle, w, h, other);
        }
}

TEST(CropTool, NullsAndNumbersWithoutMeaningHaveTheirAnswers) {
  EXPECT_EQ(1, morva_crop_corners(nullptr, 0, 3, 3, nullptr));
  EXPECT_EQ(1, morva_crop_scale(nullptr, 0, 1, 3, 3, 1, nullptr));
  EXPECT_EQ(1, morva_crop_fit_to_angle(nullptr, 0, 0, 3, 3, 0, nullptr, nullptr));
  EXPECT_EQ(1, morva_crop_expand(nullptr, 0, 3, 3, 1, 0, nullptr));
  EXPECT_EQ(1, morva_rot_offsets(1, 1, 0, nullptr));
  const double crop[] = {0.1, kNaN, 0.5, 0.4};
  double corners[8], out[4];
  morva_crop_corners(crop, kInf, 30, 20, corners);
  EXPECT_EQ(30.0, corners[4]);
  EXPECT_EQ(20.0, corners[5]);
  morva_crop_scale(nullptr, 1, kNaN, 30, 20, 0, out);
  EXPECT_EQ(1.0, out[2]);
  EXPECT_FALSE(morva_crop_fits(nullptr, 0, 45.0, 30, 20, kNaN));
  EXPECT_EQ(0.0, morva_straighten_angle(kNaN, 0.0, kInf, 0.0));
}

}  // namespace
