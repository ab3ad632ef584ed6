// Marks pressed into the paper: stamps, where they may be and what text a host may send; the
// mark of an etching plate and what the light does on it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <string>

#include "finish/plate_mark.h"
#include "finish/relief.h"
#include "finish/stamps.h"
#include "image/random.h"
#include "print/pictures.h"

namespace morva {
namespace {

constexpr int kBorder = 120;
constexpr int kWidth = 800;
constexpr int kHeight = 600;
constexpr float kPaper = 0.8f;

// A picture of noise on paper, ten pixels a millimetre.
const Image kSheet = [] {
  Image sheet(kHeight, kWidth, 3, kPaper);
  Rng rng = rng_from_key({4});
  for (int y = kBorder; y < kHeight - kBorder; ++y)
    rng.fill_uniforms(&sheet.at(y, kBorder), 3 * (kWidth - 2 * kBorder));
  return sheet;
}();

Image stamped(const Json& changes) {
  Json opts = {{"print_px_um", 100.0}, {"_border_px", 120.0}};
  opts.update(changes);
  return apply_stamps(kSheet, opts);
}

Image stamped(const char* changes) {
  return stamped(Json::parse(changes));
}

const float* pixel(const Image& sheet, int y, int x) {
  return sheet.data.data() + 3 * (y * kWidth + x);
}

// The rectangle of pixels in which a sheet differs from the bare one; empty when right is 0.
SheetRect changed(const Image& after) {
  SheetRect box = {kWidth, kHeight, 0, 0};
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x) {
      if (std::equal(pixel(after, y, x), pixel(after, y, x + 1), pixel(kSheet, y, x))) continue;
      box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x + 1),
             std::max(box.bottom, y + 1)};
    }
  return box;
}

bool picture_is_whole(const Image& after) {
  for (int y = kBorder; y < kHeight - kBorder; ++y)
    if (!std::equal(pixel(after, y, kBorder), pixel(after, y, kWidth - kBorder),
                    pixel(kSheet, y, kBorder)))
      return false;
  return true;
}

TEST(Stamps, PassWhereThereIsNothingToPressOrNoPaper) {
  for (const char* changes :
       {R"({"stamp_text": null, "blind_stamp": "", "emboss_line": null})",
        R"({"stamp_text": "A", "emboss_line": "single", "_border_px": 0})",
        R"({"stamp_text": "A", "emboss_line": "double", "_border_px": 120, "_plate_px": 120})",
        R"({"stamp_text": "A", "emboss_line": "single", "_border_px": 500})",
        R"({"stamp_text": "A", "print_px_um": 1e30, "emboss_line": "thick"})",
        R"({"stamp_text": "A", "print_px_um": -100})"})
    EXPECT_EQ(kSheet.data, stamped(changes).data) << changes;
}

TEST(Stamps, StandInTheBottomMarginAndTouchNoPicture) {
  const Image out = stamped(R"({"stamp_text": "H. Morva", "blind_stamp": "4/12"})");
  EXPECT_TRUE(picture_is_whole(out));
  const SheetRect box = changed(out);
  EXPECT_GE(box.top, kHeight - kBorder);
  EXPECT_NEAR(0.5 * kWidth, 0.5 * (box.left + box.right), 6.0);
  EXPECT_NEAR(kHeight - 0.5 * kBorder, 0.5 * (box.top + box.bottom), 3.0);
  const SheetRect marks = changed(stamped(R"({"stamp_text": "Morva", "blind_stamp": "4",
                                              "emboss_line": "double", "_plate_px": 60})"));
  EXPECT_GE(std::min(marks.left, marks.top), 60);  // inside the plate's mark
  EXPECT_LE(std::max(marks.right - kWidth, marks.bottom - kHeight), -60);
  // Colourless: every channel takes the same light, and not much is taken.
  for (std::size_t i = 0; i < out.data.size(); ++i) {
    ASSERT_TRUE(out.data[i] >= 0.6f * kSheet.data[i] && out.data[i] <= 1.0f);
    if (kSheet.data[i] == kPaper) {
      ASSERT_EQ(out.data[i], out.data[i - i % 3]);
    }
  }
}

TEST(Stamps, GrowWithTheirSizeAsFarAsTheMarginLets) {
  const auto height = [&](const char* size, double border) {
    const SheetRect box =
        changed(stamped({{"stamp_text", "HHH"}, {"stamp_size", size}, {"_border_px", border}}));
    EXPECT_GE(box.top, kHeight - border - 0.5);
    return box.bottom - box.top;
  };
  EXPECT_LT(height("s", 120), height("l", 120));
  EXPECT_LT(height("l", 120), height("xl", 120));
  EXPECT_EQ(height("xl", 30), height("l", 30));
  EXPECT_LE(height("xl", 30), 30);
}

TEST(EmbossedLine, IsAGrooveLitFromTheUpperLeft) {
  const Image single = stamped(R"({"emboss_line": "single"})");
  EXPECT_TRUE(picture_is_whole(single));
  // Halfway between the picture and the edge; the wall towards the lamp lies in shade, above the
  // groove's middle both over the picture and under it.
  for (const int middle : {kBorder / 2, kHeight - kBorder / 2}) {
    EXPECT_LT(single.at(middle - 4, kWidth / 2), 0.95f * kPaper);
    EXPECT_GT(single.at(middle + 4, kWidth / 2), kPaper);
  }
  EXPECT_LT(single.at(kHeight / 2, 56), kPaper);
  EXPECT_GT(single.at(kHeight / 2, 64), kPaper);
  EXPECT_LT(single.at(kHeight / 2, kWidth - 64), kPaper);

  const Image with_name = stamped(R"({"emboss_line": "single", "stamp_text": "i"})");
  const int wall = kHeight - kBorder / 2 - 4;
  EXPECT_EQ(kPaper, with_name.at(wall, kWidth / 2 + 25));  // the line breaks for it
  EXPECT_EQ(single.at(wall, kWidth / 2 + 80), with_name.at(wall, kWidth / 2 + 80));

  const Image twin = stamped(R"({"emboss_line": "double"})");
  int grooves = 0;
  for (int y = 1; y < kBorder; ++y)
    grooves +=
        twin.at(y, kWidth / 2) < 0.95f * kPaper && twin.at(y - 1, kWidth / 2) >= 0.95f * kPaper;
  EXPECT_EQ(2, grooves);
}

TEST(Stamps, HostileTextIsCutByThePaper) {
  std::string many;
  for (int i = 0; i < 10000; ++i) many += "Ж";
  for (const std::string& text :
       {many, std::string("שלום עולם"), std::string("🙂🦄\u202e\u200d\u0301\u0301 x"),
        std::string("\n\t\r\b ")})
    for (const double border : {3.0, 120.0}) {
      const Image out = stamped({{"emboss_line", "double"},
                                 {"stamp_size", "xl"},
                                 {"stamp_text", text},
                                 {"blind_stamp", text},
                                 {"_border_px", border}});
      ASSERT_TRUE(picture_is_whole(out));
      EXPECT_TRUE(is_light(out));
    }
  const SheetRect box = changed(stamped({{"stamp_text", many}}));
  EXPECT_NEAR(kBorder + 90, box.left, 8);
  EXPECT_EQ(kWidth, box.right);
  EXPECT_THROW(stamped(R"({"print_px_um": 1e-30})"), std::bad_alloc);
}

const Json kPlatePaper = Json::parse(R"({"process": {"plate": {"enabled": true}}})");

TEST(PlateMark, LiesAThirdOfTheBorderFromThePicture) {
  const Json none = Json::object();
  // 400 px of 100 um are a border of 40 mm: 0.35 of it is less than the plate's 18 mm margin.
  EXPECT_NEAR(400.0 * 0.65, plate_mark_px(kPlatePaper, none, 400.0, 100.0).value(), 1e-9);
  EXPECT_NEAR(2000.0 - 180.0, plate_mark_px(kPlatePaper, none, 2000.0, 100.0).value(), 1e-9);
  Json near = kPlatePaper;
  near["process"]["plate"].update({{"offset_mm", 5}, {"margin_mm", 3}});  // the margin wins
  EXPECT_NEAR(370.0, plate_mark_px(near, none, 400.0, 100.0).value(), 1e-9);
  // A border of 1.5 mm has room for neither 1.2 mm and a sheet around it.
  for (const double border_px : {15.0, 0.0})
    EXPECT_FALSE(plate_mark_px(kPlatePaper, none, border_px, 100.0));
  EXPECT_FALSE(plate_mark_px(kPlatePaper, {{"plate_mark", false}}, 400.0, 100.0));
  EXPECT_FALSE(plate_mark_px(none, none, 400.0, 100.0));
  EXPECT_TRUE(plate_mark_px(none, {{"plate_mark", true}}, 400.0, 100.0));
}

TEST(PlateMark, ThePressedStepIsShadedAboveAndLitBelow) {
  const Image blank(300, 400, 3, 0.6f);
  const Json options = {{"print_px_um", 50.0}, {"_plate_px", 40.0}};
  const Image sheet = press_plate_mark(blank, kPlatePaper, options);
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
  EXPECT_EQ(blank.data, press_plate_mark(blank, kPlatePaper, {{"print_px_um", 50.0}}).data);
}

TEST(PlateMark, StaysOnTheSheetWhateverItsNumbers) {
  for (const char* plate : {R"({"width_mm": 1e30, "depth": 1e30})", R"({"width_mm": -1})", "3"})
    for (const double plate_px : {1e-9, 19.0, 1e30, -3.0})
      for (const double print_px_um : {1e-30, 80.0, 1e30}) {
        Json paper = kPlatePaper;
        paper["process"]["plate"] = Json::parse(plate);
        const Json options = {{"print_px_um", print_px_um}, {"_plate_px", plate_px}};
        EXPECT_TRUE(is_light(press_plate_mark(Image(38, 21, 3, 0.9f), paper, options))) << plate;
      }
}

}  // namespace
}  // namespace morva
