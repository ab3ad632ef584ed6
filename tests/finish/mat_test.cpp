// The mat to the pixel: margins, grips, mitres and bevels, the shadow on the picture, the styles.

#include "finish/mat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <new>

#include "finish/mat_window.h"
#include "input/failure_of.h"
#include "print/pictures.h"

namespace morva {
namespace {

// Two pixels to the millimetre and a margin of ten: small enough to count.
Json small_mat(const char* style) {
  return {{"mat", style},        {"print_px_um", 500.0}, {"mat_width_cm", 0.5},
          {"mat_grip_mm", 1.5},  {"mat_bevel_mm", 1.6},  {"mat_bottom_weight", 1.25},
          {"mat_reveal_mm", 2.0}};
}

Image framed_sheet(int h, int w, Json opts) {
  return apply_mat(Image(h, w, 3, 0.5f), opts);
}

void expect_colour(std::array<float, 3> board, const Image& image, int y, int x,
                   float light = 1.0f) {
  for (int k = 0; k < 3; ++k)
    EXPECT_NEAR(std::min(1.0f, board[k] * light), image.at(y, x, k), 1e-6)
        << y << ' ' << x << ' ' << k;
}

constexpr std::array<float, 3> kBoard = {0.8626f, 0.8317f, 0.7678f};
constexpr std::array<float, 3> kCore = {0.9136f, 0.8794f, 0.8073f};
constexpr std::array<float, 3> kBlackBoard = {0.0151f, 0.013f, 0.011f};

TEST(Mat, MarginsFollowTheScaleAndAWrongNameIsTold) {
  Json opts = {{"mat", "classic"}, {"print_px_um", 125.0}};
  EXPECT_EQ(480, mat_margins(opts).value().side_px);
  EXPECT_EQ(538, mat_margins(opts).value().bottom_px);  // 537.6
  opts["mat_width_cm"] = 0.5;
  const Image framed = apply_mat(Image(50, 90, 3, 0.5f), opts);
  EXPECT_EQ(50 + 40 + 45, framed.h);
  EXPECT_EQ(90 + 80, framed.w);
  EXPECT_EQ(Json({40, 45}), opts["_mat_margins"]);
  for (const Json& name : {Json("none"), Json(nullptr), Json("")})
    EXPECT_FALSE(mat_margins({{"mat", name}}));
  EXPECT_EQ("Паспарту «gold» нет. Есть: none, classic, double, emboss, french",
            testing_files::failure_of([] {
              mat_margins({{"mat", "gold"}});
            }));
}

TEST(Mat, SizesThatNoSheetHasAreRefused) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  Image sheet(9, 9, 3, 0.5f);
  sheet.at(4, 4, 0) = 7.0f;  // lighter than paper, darker than ink
  sheet.at(4, 4, 1) = -7.0f;
  for (const char* key : {"mat_width_cm", "mat_bottom_weight", "mat_grip_mm", "mat_bevel_mm",
                          "mat_reveal_mm", "print_px_um"})
    for (const double value : {1e30, 1e-300, nan, -3.0, 0.0}) {
      Json opts = small_mat("double");
      opts[key] = value;
      try {
        EXPECT_TRUE(is_light(apply_mat(sheet, opts))) << key << value;
      } catch (const std::bad_alloc&) {
      }
    }
  EXPECT_THROW(framed_sheet(9, 9, {{"mat", "classic"}, {"mat_width_cm", 200.0}}), std::bad_alloc);
}

TEST(Mat, TheGripHidesBorderAndWhite) {
  Json opts = {{"mat_grip_mm", 4.0}};
  const auto grips = [&opts] {
    const MatWindow w = mat_window(1000, 2000, opts, 10.0);
    return std::array{w.top, 999 - w.bottom, w.left, 1999 - w.right};
  };
  EXPECT_EQ((std::array{40, 40, 40, 40}), grips());
  // Past an inset of the picture by 0.8 mm, where that is more.
  opts["_pic_inset_px"] = {0.0, 32.0, 32.2, 120.0};
  EXPECT_EQ((std::array{40, 40, 41, 128}), grips());
  // White paper around a rebate: 3 px of it stay, if the picture lies no deeper than that.
  opts["_pic_inset_px"] = {10.0, 10.0, 60.0, 20.0};
  opts["_frame_white_px"] = {30.4, 80.0, 25.0, 23.4};
  EXPECT_EQ((std::array{27, 40, 42, 22}), grips());  // 27.4, grip, 42.5, 21.7
  opts["_mat_grips_px"] = {7.6, 0.2, -5.0, 3000.0};
  EXPECT_EQ((std::array{8, 1, 1, 999}), grips());
  const MatWindow window = mat_window(1, 1, opts, 10.0);  // something stays open
  EXPECT_LE(window.top, window.bottom);
}

TEST(Mat, BevelIsMitredAndLitFromAbove) {
  Json opts = small_mat("classic");
  const Image framed = framed_sheet(40, 60, opts);
  // Margin 10, grip 3: the window's first row and column are 13, its last 46 and 66. The bevel
  // takes distances 1, 2 and 3 of 3.2 px.
  ASSERT_EQ(40 + 10 + 12, framed.h);
  // On the diagonal the upper and lower faces win, a step aside the others.
  for (const int d : {1, 2, 3}) {
    for (const int x : {13 - d, 40}) expect_colour(kCore, framed, 13 - d, x, 0.86f);
    for (const int x : {40, 66 + d}) expect_colour(kCore, framed, 46 + d, x, 1.1f);
    for (const int y : {13 - d + 1, 30}) expect_colour(kCore, framed, y, 13 - d, 0.95f);
    for (const int y : {30, 46 + d - 1}) expect_colour(kCore, framed, y, 66 + d, 1.02f);
  }
  for (const auto& [y, x] : {std::pair{9, 40}, {50, 40}, {30, 9}, {30, 70}, {9, 9}, {0, 0}})
    expect_colour(kBoard, framed, y, x);
  // A cream core is seen in the bevel's blue alone.
  opts["mat_core"] = "cream";
  const Image cream = framed_sheet(40, 60, opts);
  for (int i = 0; i < 3 * framed.w; ++i) {  // across the upper bevel
    const int x = i / 3, y = 11;
    EXPECT_EQ(i % 3 == 2 && x >= 10 && x <= 69, framed.at(y, x, i % 3) != cream.at(y, x, i % 3));
  }
}

TEST(Mat, ShadowFallsOnThePictureFromAbove) {
  const Image framed = framed_sheet(60, 80, small_mat("classic"));
  EXPECT_EQ(0.5f, framed.at(40, 50));
  for (int d = 1; d < 6; ++d) {  // inwards from the window at 13, 66, 13 and 86
    EXPECT_LT(framed.at(13 + d, 50), framed.at(14 + d, 50));
    EXPECT_LT(framed.at(13 + d, 50), framed.at(40, 13 + d));
    EXPECT_EQ(framed.at(40, 13 + d), framed.at(40, 86 - d));
    EXPECT_LT(framed.at(40, 13 + d), framed.at(66 - d, 50));
    EXPECT_LT(framed.at(66 - d, 50), 0.5f);
  }
  EXPECT_NEAR(0.4271, framed.at(14, 50), 1e-4);
}

TEST(Mat, DoubleShowsAnInnerBoard) {
  const Image framed = framed_sheet(40, 60, small_mat("double"));
  // Window at 13: an inner bevel of 1 px, 1.4 at the least, black to 4, an outer bevel to 7.2.
  for (const int d : {1, 5, 6, 7}) expect_colour(kCore, framed, 30, 13 - d, 0.95f);
  for (const int d : {2, 3, 4}) expect_colour(kBlackBoard, framed, 30, 13 - d);
  expect_colour(kBoard, framed, 30, 5);
  expect_colour(kBlackBoard, framed, 10, 10);
  expect_colour(kCore, framed, 6, 6, 0.86f);
}

TEST(Mat, EmbossAndFrenchFollowTheirLines) {
  Json opts = {{"mat", "emboss"}, {"print_px_um", 500.0}, {"mat_width_cm", 3.0}};
  const Image pressed = framed_sheet(40, 60, opts);
  const int edge = 60 + 8;  // the window's first column; the grip is 8 px
  for (const int d : {5, 30}) expect_colour(kBoard, pressed, 80, edge - d);
  EXPECT_LT(pressed.at(80, edge - 16), kBoard[0] * 0.93f);  // shade within, light without
  EXPECT_GT(pressed.at(80, edge - 20), kBoard[0] * 1.04f);

  opts["mat"] = "french";
  const Image ruled = framed_sheet(40, 60, opts);
  for (const int d : {8, 12, 33, 37, 40}) expect_colour(kBoard, ruled, 80, edge - d);
  for (const int d : {15, 20, 29})  // a wash, and a warm one
    EXPECT_GT(ruled.at(80, edge - d) / kBoard[0], 1.05f * ruled.at(80, edge - d, 2) / kBoard[2]);
  for (const int d : {10, 14, 30, 35})  // 5, 7, 15 and 17.5 mm: ink of 0.42 over the board
    expect_colour(kBoard, ruled, 80, edge - d, 0.25f + 0.75f * 0.42f);
}

}  // namespace
}  // namespace morva
