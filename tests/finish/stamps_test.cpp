// Stamps: what is pressed, where it may be, and what text a host may send.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <string>
#include <vector>

#include "finish/relief.h"
#include "finish/stamps.h"
#include "image/random.h"

namespace morva {
namespace {

constexpr int kBorder = 120;
constexpr int kWidth = 800;
constexpr int kHeight = 600;
constexpr float kPaper = 0.8f;

// A picture of noise on paper, ten pixels a millimetre.
Image sheet_of_noise() {
  Image sheet(kHeight, kWidth, 3, kPaper);
  Rng rng = rng_from_key({4});
  for (int y = kBorder; y < kHeight - kBorder; ++y)
    rng.fill_uniforms(&sheet.at(y, kBorder), 3 * (kWidth - 2 * kBorder));
  return sheet;
}

Json stamped(const char* changes) {
  Json opts = Json::parse(R"({"print_px_um": 100.0, "_border_px": 120.0})");
  opts.update(Json::parse(changes));
  return opts;
}

// The rectangle of pixels in which two sheets differ; empty when right is 0.
SheetRect changed(const Image& before, const Image& after) {
  SheetRect box = {before.w, before.h, 0, 0};
  for (int y = 0; y < before.h; ++y)
    for (int x = 0; x < before.w; ++x) {
      const float* p = before.data.data() + 3 * (static_cast<std::size_t>(y) * before.w + x);
      if (std::equal(p, p + 3, after.data.data() + (p - before.data.data()))) continue;
      box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x + 1),
             std::max(box.bottom, y + 1)};
    }
  return box;
}

bool picture_is_whole(const Image& before, const Image& after) {
  for (int y = kBorder; y < kHeight - kBorder; ++y)
    for (int x = kBorder; x < kWidth - kBorder; ++x)
      for (int k = 0; k < 3; ++k)
        if (before.at(y, x, k) != after.at(y, x, k)) return false;
  return true;
}

TEST(Stamps, PassWhereThereIsNothingToPressOrNoPaper) {
  const Image sheet = sheet_of_noise();
  for (const char* changes :
       {R"({"stamp_text": null, "blind_stamp": "", "emboss_line": null})",
        R"({"stamp_text": "A", "emboss_line": "single", "_border_px": 0})",
        R"({"stamp_text": "A", "emboss_line": "double", "_border_px": 120, "_plate_px": 120})",
        R"({"stamp_text": "A", "emboss_line": "single", "_border_px": 500})",
        R"({"stamp_text": "A", "print_px_um": 1e30, "emboss_line": "thick"})",
        R"({"stamp_text": "A", "print_px_um": -100})"})
    EXPECT_EQ(sheet.data, apply_stamps(sheet, stamped(changes)).data) << changes;
}

TEST(Stamps, StandInTheBottomMarginAndTouchNoPicture) {
  const Image sheet = sheet_of_noise();
  const Image out =
      apply_stamps(sheet, stamped(R"({"stamp_text": "H. Morva", "blind_stamp": "4/12"})"));
  EXPECT_TRUE(picture_is_whole(sheet, out));
  const SheetRect box = changed(sheet, out);
  EXPECT_GE(box.top, kHeight - kBorder);
  EXPECT_NEAR(0.5 * kWidth, 0.5 * (box.left + box.right), 6.0);
  EXPECT_NEAR(kHeight - 0.5 * kBorder, 0.5 * (box.top + box.bottom), 3.0);
  // Colourless: every channel takes the same light, and not much is taken.
  for (std::size_t i = 0; i < out.pixels(); ++i) {
    ASSERT_GE(out.data[3 * i], 0.6f * sheet.data[3 * i]);
    ASSERT_LE(out.data[3 * i], 1.0f);
    if (sheet.data[3 * i] != kPaper) continue;
    ASSERT_EQ(out.data[3 * i], out.data[3 * i + 2]);
  }
}

TEST(Stamps, GrowWithTheirSizeAsFarAsTheMarginLets) {
  const Image sheet = sheet_of_noise();
  const auto height = [&](const char* size, double border) {
    Json opts = stamped(R"({"stamp_text": "HHH"})");
    opts["stamp_size"] = size;
    opts["_border_px"] = border;
    const SheetRect box = changed(sheet, apply_stamps(sheet, opts));
    EXPECT_GE(box.top, kHeight - border - 0.5);
    return box.bottom - box.top;
  };
  EXPECT_LT(height("s", 120), height("l", 120));
  EXPECT_LT(height("l", 120), height("xl", 120));
  EXPECT_EQ(height("m", 120), height("huge", 120));
  EXPECT_EQ(height("xl", 30), height("l", 30));
  EXPECT_LE(height("xl", 30), 30);
}

TEST(Stamps, StayInsideThePlateMark) {
  const Image sheet = sheet_of_noise();
  const Image out = apply_stamps(
      sheet, stamped(R"({"stamp_text": "Morva", "blind_stamp": "4", "emboss_line": "double",
                         "_plate_px": 60})"));
  EXPECT_TRUE(picture_is_whole(sheet, out));
  const SheetRect box = changed(sheet, out);
  EXPECT_GE(box.left, 60);
  EXPECT_GE(box.top, 60);
  EXPECT_LE(box.right, kWidth - 60);
  EXPECT_LE(box.bottom, kHeight - 60);
}

TEST(EmbossedLine, IsAGrooveLitFromTheUpperLeft) {
  const Image sheet = sheet_of_noise();
  const Image single = apply_stamps(sheet, stamped(R"({"emboss_line": "single"})"));
  EXPECT_TRUE(picture_is_whole(sheet, single));
  // Halfway between the picture and the edge; the wall towards the lamp lies in shade, above the
  // groove's middle both over the picture and under it.
  for (const int middle : {kBorder / 2, kHeight - kBorder / 2}) {
    EXPECT_LT(single.at(middle - 4, kWidth / 2), 0.95f * kPaper);
    EXPECT_GT(single.at(middle + 4, kWidth / 2), kPaper);
  }
  EXPECT_LT(single.at(kHeight / 2, 56), kPaper);
  EXPECT_GT(single.at(kHeight / 2, 64), kPaper);
  EXPECT_LT(single.at(kHeight / 2, kWidth - 64), kPaper);

  const Image twin = apply_stamps(sheet, stamped(R"({"emboss_line": "double"})"));
  std::vector<int> shaded;
  for (int y = 0; y < kBorder; ++y)
    if (twin.at(y, kWidth / 2) < 0.95f * kPaper) shaded.push_back(y);
  ASSERT_FALSE(shaded.empty());
  EXPECT_GT(shaded.back() - shaded.front(), 10);
  EXPECT_LT(shaded.size(), static_cast<std::size_t>(shaded.back() - shaded.front() - 3));
}

TEST(EmbossedLine, BreaksForTheName) {
  const Image sheet = sheet_of_noise();
  const Image lines = apply_stamps(sheet, stamped(R"({"emboss_line": "single"})"));
  const Image both =
      apply_stamps(sheet, stamped(R"({"emboss_line": "single", "stamp_text": "i"})"));
  const int y = kHeight - kBorder / 2 - 4;
  EXPECT_LT(lines.at(y, kWidth / 2 + 25), kPaper);
  EXPECT_EQ(kPaper, both.at(y, kWidth / 2 + 25));
  EXPECT_EQ(lines.at(y, kWidth / 2 + 80), both.at(y, kWidth / 2 + 80));
}

TEST(Stamps, HostileTextIsCutByThePaper) {
  const Image sheet = sheet_of_noise();
  std::string many;
  for (int i = 0; i < 10000; ++i) many += "Ж";
  for (const std::string& text :
       {many, std::string("שלום עולם"), std::string("🙂🦄\u202e\u200d\u0301\u0301 x"),
        std::string("\n\t\r\b ")})
    for (const double border : {3.0, 120.0}) {
      Json opts = stamped(R"({"emboss_line": "double", "stamp_size": "xl"})");
      opts["stamp_text"] = opts["blind_stamp"] = text;
      opts["_border_px"] = border;
      const Image out = apply_stamps(sheet, opts);
      ASSERT_TRUE(picture_is_whole(sheet, out));
      for (const float v : out.data) ASSERT_TRUE(std::isfinite(v));
    }
  Json opts = stamped("{}");
  opts["stamp_text"] = many;
  const SheetRect box = changed(sheet, apply_stamps(sheet, opts));
  EXPECT_NEAR(kBorder + 90, box.left, 8);
  EXPECT_EQ(kWidth, box.right);
  EXPECT_THROW(apply_stamps(sheet, stamped(R"({"print_px_um": 1e-30})")), std::bad_alloc);
}

}  // namespace
}  // namespace morva
