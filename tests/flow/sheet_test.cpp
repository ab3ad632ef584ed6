// The bench on which a print is finished: where stamps, mat and table follow one another, and what
// each is told of the others.

#include "flow/sheet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "finish/mat.h"
#include "finish/stamps.h"
#include "finish/table.h"
#include "flow/flow.h"
#include "profiles/seeds.h"

namespace morva {
namespace {

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
