// Which processes a stock and a paper call for.

#include "engine/develop_print.h"

#include <gtest/gtest.h>

#include "print/reversal_print.h"
#include "print/scan.h"
#include "print/slide.h"

namespace morva {
namespace {

constexpr double kPxUm = 1000.0;

Image scene() {
  Image image(4, 4, 3, 0.1f);
  image.at(1, 1, 0) = 30.0f;  // a lamp, for halation
  image.at(2, 3, 2) = 0.4f;
  return image;
}

Json options() {
  return {{"grain_mult", 0}, {"seed", 3}, {"grain_engine", "classic"}, {"plate_pour", 0}};
}

Json colour_stock(const char* type) {
  const Json layer = {{"dmin", 0.1}, {"dmax", 2.6}, {"gamma", 1.2}};
  return {{"type", type}, {"layers", {{"r", layer}, {"g", layer}, {"b", layer}}}};
}

Json glass_plate() {
  return {{"type", "collodion"},
          {"negative", {{"dmin", 0.05}, {"dmax", 2.0}, {"gamma", 1.4}}},
          {"halation", {{"strength", 1.0}, {"glass_mm", 2.0}}}};
}

Json plate_on_film() {
  Json stock = glass_plate();
  stock["halation"].erase("glass_mm");
  return stock;
}

std::vector<float> printed(const Json& stock, const Json& paper) {
  RenderContext ctx;
  return develop_print(scene(), stock, paper, options(), kPxUm, nullptr, ctx, nullptr).data;
}

struct Road {
  Json stock;
  Json paper;
};

TEST(DevelopPrint, StockAndPaperChooseTheRoad) {
  const Json process = {{"coat", {{"amp", 0.2}}}};
  const Json bw = {{"type", "bw_paper"}};
  const Json slide = colour_stock("slide"), negative = colour_stock("color");
  const struct {
    const char* what;
    Road one;
    Road other;
    bool same;
  } cases[] = {
      {"a slide is no print", {slide, {{"process", process}}}, {slide, Json::object()}, true},
      {"but on reversal paper",
       {slide, {{"type", "reversal_paper"}}},
       {slide, Json::object()},
       false},
      {"a hand process prints a negative",
       {negative, {{"process", process}}},
       {negative, Json::object()},
       false},
      {"a plate to be looked at is not printed",
       {glass_plate(), {{"process", process}, {"kind", "plate"}}},
       {glass_plate(), {{"kind", "plate"}}},
       true},
      {"any other is",
       {glass_plate(), {{"process", process}}},
       {glass_plate(), {{"kind", "plate"}}},
       false},
      {"an opaque base has no glass",
       {glass_plate(), {{"substrate", "opaque"}}},
       {plate_on_film(), Json::object()},
       true},
      {"a clear one has",
       {glass_plate(), Json::object()},
       {plate_on_film(), Json::object()},
       false},
      {"silver paper is not colour paper",
       {negative, bw},
       {negative, {{"type", "color_paper"}}},
       false},
  };
  for (const auto& c : cases)
    EXPECT_EQ(c.same, printed(c.one.stock, c.one.paper) == printed(c.other.stock, c.other.paper))
        << c.what;

  const std::vector<float> silver = printed(negative, bw);
  for (std::size_t i = 0; i < silver.size(); i += 3) {
    ASSERT_EQ(silver[i], silver[i + 1]);
    ASSERT_EQ(silver[i], silver[i + 2]);
  }
}

TEST(DevelopPrint, ASlideIsProjectedScannedOrPrinted) {
  RenderContext ctx;
  const Json stock = colour_stock("slide");
  const Json paper = {{"type", "reversal_paper"}, {"scan", {{"flare", 0.1}}}};
  EXPECT_EQ(print_reversal(scene(), stock, paper, options(), kPxUm, nullptr, ctx).data,
            printed(stock, paper));
  const Image slide = develop_slide(scene(), stock, options(), kPxUm, nullptr, ctx);
  EXPECT_EQ(slide.data, printed(stock, {{"scan", Json::object()}}));
  const Json scanner = {{"scan", {{"flare", 0.1}}}};
  EXPECT_EQ(scan_positive(slide, scanner, options()).data, printed(stock, scanner));
  EXPECT_NE(slide.data, printed(stock, scanner));
}

}  // namespace
}  // namespace morva
