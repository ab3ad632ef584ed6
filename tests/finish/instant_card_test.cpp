// Instant cards: sizes to the pixel, which way the card lies, its corners, and the peel-apart
// sheet.

#include "finish/instant_card.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <new>
#include <numbers>

#include "finish/card_window.h"
#include "image/errors.h"
#include "input/failure_of.h"
#include "print/pictures.h"
#include "profiles/formats.h"
#include "profiles/peel_sizes.h"

namespace morva {
namespace {

const Json kNone = Json::object();

Json card_film() {
  return Json::parse(R"({"type": "instant", "frame": {"crop": "square", "image_long_mm": 80,
    "side_frac": 0.06, "top_ratio": 1.5, "bottom_ratio": 4, "base_tint": [0.9, 0.8, 0.7]}})");
}

Json peel_film() {
  return Json::parse(R"({"type": "instant", "frame": {"style": "peel", "crop": "aspect",
    "sizes": ["3x4", "8x10"], "base_tint": [0.9, 0.8, 0.7]}})");
}

// Three channels, each pixel told apart by its place.
Image picture(int h, int w) {
  Image image(h, w, 3, 0.3f);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      image.at(y, x, 0) = 0.1f + 0.5f * static_cast<float>(y) / static_cast<float>(h);
      image.at(y, x, 1) = 0.1f + 0.5f * static_cast<float>(x) / static_cast<float>(w);
    }
  return image;
}

TEST(PeelSizes, TheFilmsOwnAndNoOthers) {
  EXPECT_EQ("пил-апарт: неизвестный размер 4x5", testing_files::failure_of([] {
              plan_instant_card(peel_film(), {{"peel_size", "4x5"}}, {730, 950});
            }));
  EXPECT_THROW(peel_size(kNone, "8x10"), ProfileError);  // sold as 3x4 alone
}

TEST(InstantOpening, CentredCropInThePicturesOrientation) {
  const auto size = [](const Json& film, int w, int h) {
    const PixelSize open = instant_opening(film, kNone, {w, h});
    return std::pair(open.w, open.h);
  };
  EXPECT_EQ(std::pair(200, 200), size(card_film(), 300, 200));
  EXPECT_EQ(std::pair(260, 200), size(peel_film(), 300, 200));  // 200 * 95 / 73 = 260.27
  EXPECT_EQ(std::pair(200, 260), size(peel_film(), 200, 300));
  EXPECT_EQ(std::pair(231, 300), size(peel_film(), 300, 300));  // a square lies the film's way
  Json lying = peel_film();
  lying["frame"]["native_orientation"] = "landscape";
  EXPECT_EQ(std::pair(300, 231), size(lying, 300, 300));
  EXPECT_EQ(picture(5, 10).at(0, 2, 1),
            instant_opening_crop(picture(5, 10), card_film(), kNone).at(0, 0, 1));
}

TEST(InstantCard, MarginsToThePixelAndThePictureInPlace) {
  Json film = card_film();
  const Image shot = picture(100, 80);  // upright, as the film lies
  const Image card = instant_finish(shot, film, kNone);
  EXPECT_EQ(100 + 9 + 24, card.h);
  EXPECT_EQ(80 + 12, card.w);
  for (int y = 0; y < 100; ++y)
    ASSERT_TRUE(std::equal(&shot.data[240 * y], &shot.data[240 * y] + 240,
                           &card.data[3 * (92 * (y + 9) + 6)]));
  EXPECT_EQ(0.9f, card.at(0, 0, 0));
  EXPECT_EQ(0.7f, card.at(109, 6, 2));
  film["frame"]["native_orientation"] = "landscape";
  EXPECT_EQ(112, instant_finish(picture(80, 100), film, kNone).w);
  EXPECT_EQ(shot.data, instant_finish(shot, film, {{"instant_frame", false}}).data);
  film["frame"]["base_tint"] = {0.5, 0.5};  // no colour
  EXPECT_EQ(0.99f, instant_finish(shot, film, kNone).at(0, 0, 1));

  const auto plan = plan_instant_card(peel_film(), kNone, {950, 730});
  EXPECT_TRUE(plan->turned);
  EXPECT_EQ(std::pair(1080, 850), std::pair(plan->size.w, plan->size.h));
}

TEST(InstantCard, ABoundIsFoundBeforeMemoryIs) {
  Json film = card_film();
  for (const double wild : {1e30, 1000.0, std::numeric_limits<double>::quiet_NaN()}) {
    film["frame"]["side_frac"] = wild;
    EXPECT_THROW(plan_instant_card(film, kNone, {100, 100}), std::bad_alloc) << wild;
  }
  film = card_film();
  film["frame"]["top_ratio"] = -5.0;
  EXPECT_EQ(0, plan_instant_card(film, kNone, {100, 100})->margins.top);
  film["frame"]["corner"] = {{"mm", 1e30}};
  film["frame"]["window_line"] = {{"gain", 1e30}, {"emboss_um", 1e30}};
  for (const int side : {1, 2, 30})
    EXPECT_TRUE(is_light(instant_finish(picture(side, side), film, {{"card_outside", "grey"}})));
  film["frame"]["side_frac"] = "wide";
  EXPECT_THROW(plan_instant_card(film, kNone, {100, 100}), OptionsError);
}

TEST(InstantCard, SurroundingsGrowTheCardByACentimetre) {
  const Image alone = instant_finish(picture(160, 160), card_film(), kNone);
  const Image shown = instant_finish(picture(160, 160), card_film(), {{"card_outside", "black"}});
  ASSERT_EQ(std::pair(alone.w + 40, alone.h + 40), std::pair(shown.w, shown.h));
  EXPECT_NEAR(0.025, shown.at(0, 0, 0), 1e-3);
  EXPECT_EQ(alone.at(100, 0, 1), shown.at(120, 20, 1));
  EXPECT_LT(shown.at(shown.h - 19, 60, 0), 0.02f);  // its shadow
}

// Distances just outside a round corner come out a rounding error short of a pixel's half: the
// pixel is the ground's all the same, not one beside the card's row.
TEST(InstantCard, ThePixelsBesideTheCardAreTheGrounds) {
  Json film = card_film();
  const Json opts = {{"card_outside", "black"}};
  const auto expect_dark_beside = [&](int side) {
    const Image shown = instant_finish(picture(side, side), film, opts);
    const int margin = plan_instant_card(film, opts, {side, side})->outside_px;
    for (int x = 0; x < shown.w; ++x)
      for (const int y : {margin - 1, shown.h - margin}) ASSERT_LT(shown.at(y, x), 0.03f) << side;
    for (int y = 0; y < shown.h; ++y)
      for (const int x : {margin - 1, shown.w - margin}) ASSERT_LT(shown.at(y, x), 0.03f) << side;
  };
  for (int side = 50; side <= 300; ++side) expect_dark_beside(side);
  film["frame"]["image_long_mm"] = 79;  // a corner of 15.5544 px
  expect_dark_beside(1024);
}

TEST(CardWindow, CornersLoseWhatGeometrySays) {
  const auto lost = [](const WindowCorner& corner) {
    double area = 0.0;
    for (int y = 0; y < 60; ++y)
      for (int x = 0; x < 90; ++x)
        area += 1.0 - share_inside(distance_to_edge(x + 0.5, y + 0.5, 60, 90, corner).px);
    return area / 4.0;
  };
  EXPECT_EQ(0.0, lost({0.0, 0.0}));
  EXPECT_NEAR(20.0 * 20.0 / 2.0, lost({20.0, 0.0}), 0.5);
  EXPECT_NEAR(20.0 * 20.0 * (1.0 - std::numbers::pi / 4.0), lost({0.0, 20.0}), 0.5);
  const double rounded = lost({12.0, 4.0});  // more than the chamfer, less than the corner's square
  EXPECT_GT(rounded, 72.0);
  EXPECT_LT(rounded, 82.0);
}

TEST(CardWindow, LightComesFromTheUpperLeft) {
  Json film = card_film();
  film["frame"]["window_line"] = {{"gain", 0.25}};
  const Image card = instant_finish(Image(800, 800, 3, 0.5f), film, kNone);
  const int m = 48, top = 72;                                         // px; 10 px to the millimetre
  EXPECT_LT(card.at(top + 400, m + 1), card.at(top + 400, m + 798));  // the left edge's shadow
  EXPECT_LT(card.at(top + 1, m + 400), card.at(top + 798, m + 400));
  EXPECT_EQ(0.5f, card.at(top + 20, m + 20));
  EXPECT_EQ(0.9f, card.at(2, 2));
  EXPECT_NE(0.9f, card.at(top + 400, m - 4));  // the groove
}

Image peeled(const Json& film, const Json& opts = Json::object()) {
  Json stock = film;
  instant_seeds(stock, film, opts);
  return instant_finish(Image(475, 365, 3, 0.2f), stock, opts);
}

TEST(PeelSheet, ChipsEatThePictureAndNothingElse) {
  Json film = peel_film();
  const Image whole = peeled(film);
  EXPECT_EQ(475 + 2 * 32, whole.h);  // 6.5 mm are 32.5 px, and halves go to the even
  EXPECT_EQ(425, whole.w);
  film["frame"]["chips"] = 30;
  const Image chipped = peeled(film);
  EXPECT_GT(mean(chipped), mean(whole));
  film["frame"]["chips_by_size"] = {{"3x4", 0}};
  EXPECT_EQ(whole.data, peeled(film).data);
  EXPECT_NEAR(0.2f, chipped.at(270, 212, 0), 1e-6);
  EXPECT_EQ(0.9f, chipped.at(3, 3, 0));
  film["frame"]["chips"] = 1e30;
  film["frame"].erase("chips_by_size");
  film["_temp_rough"] = 1e30;
  EXPECT_TRUE(is_light(peeled(film)));
}

TEST(PeelSheet, RimsYellowWithoutLossOfRed) {
  Json film = peel_film();
  const Image fresh = peeled(film);
  film["frame"]["edge_yellow"] = 1.0;
  const Image yellow = peeled(film);
  double rim = 0.0;
  for (int y = 0; y < fresh.h; ++y)
    for (int x = 0; x < fresh.w; ++x) {
      ASSERT_EQ(fresh.at(y, x, 0), yellow.at(y, x, 0));
      const double blue = 1.0 - yellow.at(y, x, 2) / fresh.at(y, x, 2);
      ASSERT_NEAR(0.3 * blue, 1.0 - yellow.at(y, x, 1) / fresh.at(y, x, 1), 1e-5);
      ASSERT_LE(blue, 0.1 + 1e-6);
      if (y < 5) rim = std::max(rim, blue);
    }
  EXPECT_GT(rim, 0.01);
  film["_dev_mottle"] = 0.0;
  EXPECT_EQ(fresh.data, peeled(film).data);
}

TEST(PeelSheet, ALyingPictureIsTurnedWithItsSheet) {
  Json film = peel_film();
  film["frame"]["chips"] = 20;
  film["frame"]["edge_yellow"] = 1.0;
  instant_seeds(film, film, kNone);
  const Image upright = picture(475, 365);
  const auto turned = [](const Image& from) {  // counter-clockwise, so that its top is left
    Image to(from.w, from.h, 3);
    for (int i = 0; i < to.w * to.h; ++i)
      for (int k = 0; k < 3; ++k)
        to.at(i / to.w, i % to.w, k) = from.at(i % to.w, from.w - 1 - i / to.w, k);
    return to;
  };
  EXPECT_EQ(turned(instant_finish(upright, film, kNone)).data,
            instant_finish(turned(upright), film, kNone).data);
}

// 203.2 mm are 135.47 cells of the stain, and 237.5 mm no whole number.
TEST(PeelSheet, TheLargestSheetHasOnePatternAtEveryRaster) {
  Json film = peel_film();
  film["frame"]["edge_yellow"] = 10.0;
  instant_seeds(film, film, {{"peel_size", "8x10"}});
  const auto sheet = [&](int h, int w) {
    return instant_finish(Image(h, w, 3, 0.2f), film, {{"peel_size", "8x10"}});
  };
  const Image coarse = sheet(200, 160), fine = sheet(203, 162);
  for (int i = 0; i < 20; ++i) {  // along the upper rim
    const auto stain = [i](const Image& on) {
      return on.at(0, static_cast<int>((i + 0.5) / 20.0 * on.w), 2) / 0.7f;
    };
    EXPECT_NEAR(stain(coarse), stain(fine), 0.004) << i;
  }
}

}  // namespace
}  // namespace morva
