// Which processes a stock and a paper call for, and the bench on which the print is finished: where
// stamps, mat and table follow one another, and what each is told of the others.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "finish/mat.h"
#include "finish/stamps.h"
#include "finish/table.h"
#include "flow/develop_print.h"
#include "flow/flow.h"
#include "flow/sheet.h"
#include "profiles/seeds.h"

namespace morva {
namespace {

Json colour_stock(const char* type) {
  const Json layer = {{"dmin", 0.1}, {"dmax", 2.6}, {"gamma", 1.2}};
  return {{"type", type}, {"layers", {{"r", layer}, {"g", layer}, {"b", layer}}}};
}

Json plate_with(const Json& halation) {
  return {{"type", "collodion"},
          {"negative", {{"dmin", 0.05}, {"dmax", 2.0}, {"gamma", 1.4}}},
          {"halation", halation}};
}

std::vector<float> printed(const Json& stock, const Json& paper) {
  Image scene(4, 4, 3, 0.1f);
  scene.at(1, 1, 0) = 30.0f;  // a lamp, for halation
  scene.at(2, 3, 2) = 0.4f;
  const Json options = {
      {"grain_mult", 0}, {"seed", 3}, {"grain_engine", "classic"}, {"plate_pour", 0}};
  RenderContext ctx;
  return develop_print(scene, stock, paper, options, 1000.0, nullptr, ctx, nullptr).data;
}

TEST(DevelopPrint, StockAndPaperChooseTheRoad) {
  const Json hand = {{"process", {{"coat", {{"amp", 0.2}}}}}}, none = Json::object();
  const Json silver = {{"type", "bw_paper"}}, dye = {{"type", "color_paper"}};
  const Json viewed = {{"kind", "plate"}};
  const Json reversal = {{"type", "reversal_paper"}}, scanner = {{"scan", {{"flare", 0.1}}}};
  Json scanned_reversal = reversal, hand_viewed = hand;
  scanned_reversal.update(scanner);
  hand_viewed["kind"] = "plate";
  const Json slide = colour_stock("slide"), negative = colour_stock("color");
  const Json glass = plate_with({{"strength", 1.0}, {"glass_mm", 2.0}});
  const Json no_glass = plate_with({{"strength", 1.0}});
  const struct {
    const char* what;
    Json stock, paper, other_stock, other_paper;
    bool same;
  } cases[] = {
      {"a slide is no print", slide, hand, slide, none, true},
      {"but seen as its scanner sees it", slide, scanner, slide, none, false},
      {"on reversal paper it is printed", slide, reversal, slide, none, false},
      {"and not scanned", slide, scanned_reversal, slide, reversal, true},
      {"a hand process prints a negative", negative, hand, negative, none, false},
      {"a plate to be looked at is not printed", glass, hand_viewed, glass, viewed, true},
      {"any other is", glass, hand, glass, viewed, false},
      {"an opaque base has no glass", glass, {{"substrate", "opaque"}}, no_glass, none, true},
      {"a clear one has", glass, none, no_glass, none, false},
      {"silver paper is not colour paper", negative, silver, negative, dye, false},
  };
  for (const auto& c : cases)
    EXPECT_EQ(c.same, printed(c.stock, c.paper) == printed(c.other_stock, c.other_paper)) << c.what;

  const std::vector<float> grey = printed(negative, silver);
  for (std::size_t i = 0; i < grey.size(); i += 3)
    ASSERT_TRUE(grey[i] == grey[i + 1] && grey[i] == grey[i + 2]);
}

const Image& print() {
  static const Image sheet(240, 360, 3, 0.7f);
  return sheet;
}

// Ten pixels to the millimetre: stamps need a border of 30.
Json bench(double border_px) {
  return {{"print_px_um", 100.0},   {"mat", "classic"},    {"mat_width_cm", 1.2},
          {"mat_bottom_weight", 2}, {"stamp_text", "HHH"}, {"_border_px", border_px}};
}

TEST(FinishedSheet, StampsGoIntoTheMatWhereTheBorderIsTooNarrow) {
  Json opts = bench(29.9);
  opts["_plate_px"] = 60.0;  // around the picture, not in the mat
  const Image sheet = finish_sheet(print(), opts, false);

  const Image framed = apply_mat(print(), opts);
  const Json in_margin = {{"print_px_um", 100.0},
                          {"stamp_text", "HHH"},
                          {"_border_px", 120.0},
                          {"_border_px_bottom", 240.0}};
  EXPECT_EQ(apply_stamps(framed, in_margin).data, sheet.data);
  // In the middle of the mat's deeper foot, and nowhere else.
  int top = sheet.h, bottom = 0;
  for (int y = 0; y < sheet.h; ++y)
    for (int x = 0; x < sheet.w; ++x)
      if (framed.at(y, x) != sheet.at(y, x)) top = std::min(top, y), bottom = y + 1;
  EXPECT_GE(top, sheet.h - 240);
  EXPECT_NEAR(sheet.h - 120, 0.5 * (top + bottom), 3.0);
}

TEST(FinishedSheet, StampsGoIntoABorderOfThreeMillimetresBeforeTheMat) {
  Json opts = bench(30.0);
  const Image stamped = apply_stamps(print(), opts);
  EXPECT_NE(print().data, stamped.data);
  EXPECT_EQ(apply_mat(stamped, opts).data, finish_sheet(print(), opts, false).data);
}

TEST(FinishedSheet, ItsEdgeOnTheTableIsTheBevelOrThePaper) {
  Json opts = bench(0.0);
  opts.erase("stamp_text");
  opts.update({{"table", "grey"}, {"table_width_cm", 1}, {"mat_bevel_mm", 3.0}});
  opts["_sheet_thickness_mm"] = 0.7;
  const auto laid = [&](const Image& sheet, double edge_mm) {
    Rng rng = seeded_rng(opts, kTableStream);
    return apply_table(sheet, opts, edge_mm, rng, nullptr).data;
  };
  Json in_mat = opts;
  const Image framed = apply_mat(print(), in_mat);
  EXPECT_EQ(laid(framed, 3.0), finish_sheet(print(), opts, false).data);
  EXPECT_NE(laid(framed, 3.0), laid(framed, 0.7));
  opts["mat"] = "none";
  EXPECT_EQ(laid(print(), 0.7), finish_sheet(print(), opts, false).data);
  opts.erase("_sheet_thickness_mm");
  EXPECT_EQ(laid(print(), 0.25), finish_sheet(print(), opts, false).data);
  EXPECT_EQ(print().data, finish_sheet(print(), opts, true).data);
}

// Without a border the mat's window goes through the middle of the black rebate; with one it hides
// border and rebate alike. The white paper around the rebate never shows.
TEST(FinishedSheet, TheMatHidesTheWhiteAroundARebate) {
  const ProfileStore maker{std::filesystem::path(MORVA_PROFILES_PATH)};
  for (const double border : {0.0, 0.05}) {
    const Json opts = {{"frame_style", "thin"}, {"frame", 0.1},        {"format", "120"},
                       {"print_cm", 12},        {"grain_mult", 0},     {"border", border},
                       {"mat", "classic"},      {"mat_width_cm", 1.0}, {"mat_grip_mm", 0.1}};
    RenderContext ctx;
    const Image sheet =
        process(maker, Image(200, 300, 3, 0.18f), maker.load("films", "silver_50"),
                maker.load("lenses", "plain"), maker.load("papers", "bw_warm"), opts, ctx);
    float darkest = 1.0f, lightest = 0.0f;
    for (int x = 0; x < sheet.w; ++x) {
      darkest = std::min(darkest, sheet.at(sheet.h / 2, x, 1));
      lightest = std::max(lightest, sheet.at(sheet.h / 2, x, 1));
    }
    EXPECT_LT(lightest, 0.92f) << border;  // the bevel; the paper has 0.955
    EXPECT_TRUE(border > 0.0 ? darkest > 0.12f : darkest < 0.05f) << darkest;
  }
}

}  // namespace
}  // namespace morva
