// Lengths on the film.

#include "profiles/formats.h"

#include <gtest/gtest.h>

namespace morva {
namespace {

TEST(Formats, UnknownNamesFallBack) {
  EXPECT_EQ("135", resolve_frame("half", std::nullopt).family);
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
  EXPECT_EQ(56000.0, format_long_um("120", {{"format_120_cm", 6.4}}));
  EXPECT_EQ(56000.0, format_long_um("120", {{"format_120_cm", 10}}));
  EXPECT_EQ(56000.0, format_long_um("120", {{"format_120_cm", nullptr}}));
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

TEST(Formats, Caps) {
  EXPECT_EQ(6545, master_cap_px(36000.0));
  const Json film = Json::parse(R"({"mtf": {"f50_cyc_mm": 20}})");
  EXPECT_EQ(6320, instant_cap_px(film, 79000.0));
  EXPECT_EQ(79000.0, instant_image_long_um(Json::object(), "3x4"));
  EXPECT_EQ(62000.0, instant_image_long_um(Json::parse(R"({"frame": {"image_long_mm": 62}})"), ""));
}

}  // namespace
}  // namespace morva
