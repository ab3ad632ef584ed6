// Lengths on the film.

#include "profiles/formats.h"

#include <gtest/gtest.h>

namespace morva {
namespace {

TEST(Formats, UnknownNamesFallBack) {
  EXPECT_EQ(std::nullopt, resolve_frame("half", std::nullopt).name);
  EXPECT_EQ("sheet", resolve_frame("4x5", "8x10").family);
  EXPECT_EQ("8x10", resolve_frame("4x5", "8x10").name);
  EXPECT_EQ("custom", resolve_frame("120", "full").name);
  EXPECT_EQ("135", resolve_frame("super8", std::nullopt).family);
}

TEST(Formats, LongSides) {
  const Json none;
  EXPECT_EQ(24000.0, format_long_um("half", none));
  EXPECT_EQ(36000.0, format_long_um("super8", none));
  for (const Json& cm : {Json(6.4), Json(10), Json()})
    EXPECT_EQ(56000.0, format_long_um("120", {{"format_120_cm", cm}})) << cm;
}

TEST(Formats, PlansOfAFrame) {
  const FramePlan square = frame_plan("135", "custom", 500, 500, 500, 500, "full");
  EXPECT_EQ(24.0, square.short_mm);
  EXPECT_FALSE(square.full_gate);
  EXPECT_TRUE(frame_plan("135", "full", 3000, 2000, 2986, 1990, "full").full_gate);
  EXPECT_FALSE(frame_plan("135", "full", 3000, 2000, 2984, 1990, "full").full_gate);

  const FramePlan half = frame_plan("135", "full", 3000, 2000, 1500, 1000, "texture");
  EXPECT_EQ(18000.0, half.image_long_um);
  EXPECT_EQ(36000.0, half.cap_long_um);
  EXPECT_EQ(36000.0, frame_plan("135", "full", 3000, 2000, 1500, 1000, "fill").image_long_um);
  EXPECT_THROW(frame_plan("135", "6x6", 10, 10, 10, 10, "full"), std::out_of_range);
}

TEST(Formats, InstantFilm) {
  EXPECT_EQ(6320, instant_cap_px(Json::parse(R"({"mtf": {"f50_cyc_mm": 20}})"), 79000.0));
  EXPECT_EQ(79000.0, instant_image_long_um(Json::object(), "3x4"));
  EXPECT_EQ(62000.0, instant_image_long_um(Json::parse(R"({"frame": {"image_long_mm": 62}})"), ""));
}

}  // namespace
}  // namespace morva
