// What the shipped films measure through the round aperture of 48 micrometres, by both grain
// engines, and how their grain averages out over larger ones.

#include "film/granularity.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "film/growth_grain.h"
#include "image/resample.h"
#include "profiles/hd_curve.h"
#include "profiles/store.h"

namespace morva {
namespace {

constexpr double kSheetPxUm = 6.0;
constexpr const char* kLayers[] = {"r", "g", "b"};

struct Stock {
  Json grain;
  std::vector<HdCurve> layers;  // one of silver, or R, G, B
};

Stock shipped(const std::string& name) {
  static const ProfileStore maker{std::filesystem::path(MORVA_PROFILES_PATH)};
  const Json film = maker.load("films", name);
  Stock stock;
  stock.grain = get_object(film, "grain");
  if (get_text(film, "type", "") == "bw") {
    stock.layers = {negative_curve(get(film, "negative"))};
  } else {
    for (const char* layer : kLayers)
      stock.layers.push_back(layer_curve(get(get(film, "layers"), layer)));
  }
  return stock;
}

std::array<double, 3> ends(const Stock& stock, double HdCurve::*end) {
  return {stock.layers[0].*end, stock.layers[1].*end, stock.layers[2].*end};
}

std::vector<double> classic_granularity(const Stock& stock) {
  if (stock.layers.size() == 1)
    return {classic_sigma48(stock.grain, stock.layers[0].dmin, stock.layers[0].dmax)};
  const auto sigma48 =
      classic_sigma48_color(stock.grain, ends(stock, &HdCurve::dmin), ends(stock, &HdCurve::dmax));
  return {sigma48.begin(), sigma48.end()};
}

// The layers of a sheet of density 1.0 above base, grown with draws that calibration never saw.
std::vector<Image> grown_sheet(const Stock& stock, std::int32_t side) {
  const auto count = static_cast<std::int32_t>(stock.layers.size());
  Image sheet(side, side, count);
  for (std::size_t i = 0; i < sheet.data.size(); ++i)
    sheet.data[i] = static_cast<float>(stock.layers[i % stock.layers.size()].dmin + 1.0);
  const double long_um = side * kSheetPxUm;
  const RenderContext ctx;
  if (count == 1)
    return {add_grain_growth_bw(std::move(sheet), stock.layers[0].dmin, stock.layers[0].dmax,
                                long_um, {5}, stock.grain, 1.0, 1.0, ctx)};
  sheet =
      add_grain_growth_color(std::move(sheet), ends(stock, &HdCurve::dmin),
                             ends(stock, &HdCurve::dmax), long_um, {5}, stock.grain, 1.0, 1.0, ctx);
  return {extract_channel(sheet, 0), extract_channel(sheet, 1), extract_channel(sheet, 2)};
}

TEST(Granularity, OfTheShippedFilmsFitsTheirSpeed) {
  struct Rated {
    const char* film;
    std::vector<double> nominal;  // RMS granularity x 1000 of each layer
  };
  const Rated films[] = {{"silver_50", {8.0}},
                         {"silver_125", {11.0}},
                         {"silver_400", {17.0}},
                         {"silver_3200", {25.0}},
                         {"daylight_100", {4.35, 4.05, 5.75}},
                         {"everyday_400", {6.7, 6.2, 8.8}},
                         {"daylight_1600", {10.5, 9.8, 15.0}}};
  std::printf("RMS granularity x 1000 at 48 um\n%-14s %-6s %8s %8s %8s\n", "film", "layer",
              "classic", "growth", "ratio");
  for (const Rated& rated : films) {
    Stock stock = shipped(rated.film);
    const std::vector<double> classic = classic_granularity(stock);
    const std::vector<Image> grown = grown_sheet(stock, 1024);
    ASSERT_EQ(rated.nominal.size(), grown.size());
    stock.grain["amount"] = get_number(stock.grain, "amount_rms", 0.0);
    const std::vector<double> by_rms = classic_granularity(stock);
    for (std::size_t k = 0; k < grown.size(); ++k) {
      SCOPED_TRACE(std::string(rated.film) + ", layer " + std::to_string(k));
      const double growth = rms_aperture(grown[k], kSheetPxUm);
      std::printf("%-14s %-6s %8.2f %8.2f %8.3f\n", rated.film,
                  grown.size() == 1 ? "silver" : kLayers[k], 1e3 * classic[k], 1e3 * growth,
                  growth / classic[k]);
      EXPECT_NEAR(1.0, growth / classic[k], 0.05);
      EXPECT_NEAR(1.0, 1e3 * classic[k] / rated.nominal[k], 0.1);
      EXPECT_NEAR(1.0, 1e3 * growth / rated.nominal[k], 0.1);
      EXPECT_NEAR(1.0, 1e3 * by_rms[k] / rated.nominal[k], 0.02);
    }
  }
}

// Selwyn's law: grains lie at random, so that the deviation falls as the root of the aperture's
// area. Clumps that a small aperture resolves break it, so the coarsest films are the hard case.
// An aperture s times as large is the standard one on pixels said to be s times as small; the large
// ones are as round on pixels of twice the size. A sheet of 15 mm tells the ratio to 0.6 %.
TEST(Granularity, FallsWithTheRootOfTheApertureArea) {
  constexpr std::int32_t kSide = 2560;
  std::printf(
      "RMS granularity x 1000, times the aperture's diameter over 48 um\n"
      "%-14s %8s %8s %8s %8s %8s\n",
      "film", "48 um", "96 um", "144 um", "192 um", "ratio");
  for (const char* film : {"silver_400", "silver_3200", "daylight_100", "daylight_1600"}) {
    for (const Image& layer : grown_sheet(shipped(film), kSide)) {
      const Image halves = pil_resize(layer, kSide / 2, kSide / 2, kResizeBox);
      std::array<double, 4> constants = {rms_aperture(layer, kSheetPxUm)};
      for (std::size_t k = 1; k < constants.size(); ++k) {
        const double scale = static_cast<double>(k + 1);
        constants[k] = scale * rms_aperture(halves, 2.0 * kSheetPxUm / scale);
      }
      const auto [least, most] = std::minmax_element(constants.begin(), constants.end());
      std::printf("%-14s", film);
      for (const double constant : constants) std::printf(" %8.2f", 1e3 * constant);
      std::printf(" %8.3f\n", *most / *least);
      EXPECT_LT(*most / *least, 1.15) << film;
    }
  }
}

}  // namespace
}  // namespace morva
