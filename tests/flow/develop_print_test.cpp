// Which processes a stock and a paper call for.

#include "flow/develop_print.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace morva
