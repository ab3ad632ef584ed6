// The mark of an etching plate: where it lies, when there is none, and what the light does on it.

#include "finish/plate_mark.h"

#include <gtest/gtest.h>

#include "finish/relief.h"

namespace morva {
namespace {

const Json kPaper = Json::parse(R"({"process": {"plate": {"enabled": true}}})");

TEST(PlateMark, LiesAThirdOfTheBorderFromThePicture) {
  const Json none = Json::object();
  // 400 px of 100 um are a border of 40 mm: 0.35 of it is less than the plate's 18 mm margin.
  EXPECT_NEAR(400.0 * 0.65, plate_mark_px(kPaper, none, 400.0, 100.0).value(), 1e-9);
  EXPECT_NEAR(2000.0 - 180.0, plate_mark_px(kPaper, none, 2000.0, 100.0).value(), 1e-9);
  Json near = kPaper;
  near["process"]["plate"].update({{"offset_mm", 5}, {"margin_mm", 3}});  // the margin wins
  EXPECT_NEAR(370.0, plate_mark_px(near, none, 400.0, 100.0).value(), 1e-9);
  // A border of 1.5 mm has room for neither 1.2 mm and a sheet around it.
  for (const double border_px : {15.0, 0.0})
    EXPECT_FALSE(plate_mark_px(kPaper, none, border_px, 100.0));
  EXPECT_FALSE(plate_mark_px(kPaper, {{"plate_mark", false}}, 400.0, 100.0));
  EXPECT_FALSE(plate_mark_px(none, none, 400.0, 100.0));
  EXPECT_TRUE(plate_mark_px(none, {{"plate_mark", true}}, 400.0, 100.0));
}

TEST(PlateMark, ThePressedStepIsShadedAboveAndLitBelow) {
  const Image blank(300, 400, 3, 0.6f);
  const Json options = {{"print_px_um", 50.0}, {"_plate_px", 40.0}};
  const Image sheet = press_plate_mark(blank, kPaper, options);
  const auto light_at = [&](int y, int x) { return sheet.at(y, x, 0) / 0.6f - 1.0f; };
  const int step = 4;  // the middle of the bevel, which is 0.405 mm wide
  const float above = light_at(40 + step, 200), below = light_at(299 - 40 - step, 200);
  const float left = light_at(150, 40 + step), right = light_at(150, 399 - 40 - step);
  EXPECT_LT(above, -0.08f);
  EXPECT_GT(below, 0.03f);
  // One lamp for the sheet: higher than it stands aside, and paper shades deeper than it shines.
  EXPECT_NEAR(kLightAcross / kLightDown, left / above, 1e-4);
  EXPECT_NEAR(kLightAcross / kLightDown, right / below, 1e-4);
  for (const auto& [y, x] : {std::pair{5, 200}, {150, 5}, {150, 200}, {60, 60}, {150, 60}})
    EXPECT_EQ(0.6f, sheet.at(y, x, 0)) << y << " " << x;
  EXPECT_EQ(blank.data, press_plate_mark(blank, kPaper, {{"print_px_um", 50.0}}).data);
}

TEST(PlateMark, StaysOnTheSheetWhateverItsNumbers) {
  for (const char* plate : {R"({"width_mm": 1e30, "depth": 1e30})", R"({"width_mm": -1})", "3"})
    for (const double plate_px : {1e-9, 19.0, 1e30, -3.0})
      for (const double print_px_um : {1e-30, 80.0, 1e30}) {
        Json paper = kPaper;
        paper["process"]["plate"] = Json::parse(plate);
        const Json options = {{"print_px_um", print_px_um}, {"_plate_px", plate_px}};
        for (const float v : press_plate_mark(Image(38, 21, 3, 0.9f), paper, options).data)
          ASSERT_TRUE(v >= 0.0f && v <= 1.0f) << plate;
      }
}

}  // namespace
}  // namespace morva
