// The tube: what is seen of its screen, light kept by lines and mask, the physics of each part, and
// tubes that nobody could build.

#include "repro/crt.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

#include "image/errors.h"
#include "print/pictures.h"
#include "repro/beam_spot.h"
#include "repro/phosphor_mask.h"
#include "repro/tube_glass.h"
#include "repro/tube_light.h"
#include "repro/tube_view.h"
#include "repro/video_signal.h"

namespace morva {
namespace {

constexpr double kPi = std::numbers::pi;

double mean_of(const Image& image, int k) {
  return mean(extract_channel(image, k));
}

// The wave of so many pixels a period in n values; whole periods.
template <typename At>
std::complex<double> harmonic(int n, double period_px, At at) {
  std::complex<double> sum;
  for (int i = 0; i < n; ++i) sum += std::polar(2.0 / n * at(i), 2.0 * kPi * i / period_px);
  return sum;
}

Image shown(Image picture, const Json& tube, const Json& options = Json::object(),
            double px_um = 100.0, Rng* rng = nullptr) {
  const Json paper = {{"repro", "crt"}, {"crt", tube}};
  Rng own = rng_from_key({4});
  RenderContext ctx;
  return show_on_tube(std::move(picture), paper, options, px_um, plan_raster(paper, options, px_um),
                      rng != nullptr ? *rng : own, ctx);
}

TEST(TubeView, ZoomIsHeldAndMagnifiesLinesButNotTheMask) {
  const auto view = [](const char* options) {
    return plan_tube_view({{"crt", {{"nominal_in", 20}, {"lines", 500}}}}, Json::parse(options));
  };
  EXPECT_EQ(125.0, view(R"({"crt_zoom": 4})").lines_seen);
  EXPECT_EQ(0.72, view(R"({"crt_zoom": 4})").pitch_mm);
  for (const auto& [options, zoom] : {std::pair(R"({"crt_zoom": 0.2, "crt_size_in": 5})", 1.0),
                                      {R"({"crt_zoom": 1e30})", 10.0},
                                      {R"({"crt_zoom": null, "crt_size_in": 5})", 4.0},
                                      {R"({"crt_zoom": null, "crt_size_in": 0})", 10.0},
                                      {R"({"crt_zoom": null, "crt_size_in": null})", 1.0}})
    EXPECT_EQ(zoom, view(options).zoom) << options;
}

// The first harmonic of Gaussian strokes a line apart, seen by pixels of their own width.
TEST(BeamSpot, LinesKeepTheLevelAndShowByTheirSpot) {
  for (const double line_px : {2.0, 2.4, 4.0, 7.5})
    for (const double spot : {0.0, 0.1, 0.3, 0.45}) {
      const ScanRaster raster = {120.0 / line_px, 120};
      const Image screen = draw_lines(scan_lines(Image(120, 3, 3, 0.25f), raster), raster, spot);
      EXPECT_NEAR(0.25, mean_of(screen, 1), 1e-4) << line_px << " " << spot;
      const double sigma = std::max(0.3 / line_px, spot);
      const double expected = 0.25 * 2.0 * std::exp(-2.0 * kPi * kPi * sigma * sigma) *
                              std::sin(kPi / line_px) / (kPi / line_px);
      if (spot < 0.3 || line_px == 2.0) continue;  // other waves fold back on this one
      const auto lines = harmonic(120, line_px, [&](int y) { return screen.at(y, 0); });
      EXPECT_NEAR(expected, std::abs(lines), 0.004) << line_px << " " << spot;
    }
  const ScanRaster fine = {100.0, 120};
  const Image even = draw_lines(scan_lines(Image(120, 3, 3, 0.25f), fine), fine, 0.3);
  for (const float v : even.data) ASSERT_NEAR(0.25, v, 1e-6);
}

TEST(BeamSpot, RedLandsFurtherOutThanGreenAndBlueLessFar) {
  Image picture(301, 401, 3);
  for (int k = 0; k < 3; ++k) picture.at(10, 20, k) = picture.at(150, 200, k) = 1.0f;
  misconverge(picture, 5.0);
  const auto place = [&](int k) {  // of the corner's dot
    double sum = 0.0, x_sum = 0.0;
    for (int y = 0; y < 60; ++y)
      for (int x = 0; x < 60; ++x)
        sum += picture.at(y, x, k), x_sum += static_cast<double>(x) * picture.at(y, x, k);
    return x_sum / sum;
  };
  const double at_corner = 5.0 * 180.0 / std::hypot(150.5, 200.5);
  EXPECT_EQ(20.0, place(1));
  EXPECT_NEAR(20.0 - at_corner, place(0), 0.3);
  EXPECT_NEAR(20.0 + at_corner, place(2), 0.3);
  for (int k = 0; k < 3; ++k) EXPECT_EQ(1.0f, picture.at(150, 200, k));
}

// Four times as close, a quarter of the lines and of the corner's error are seen.
TEST(Crt, ACloseViewOfATubeIsTheMiddleOfIt) {
  Image picture(120, 160, 3, 0.1f);
  for (int y = 0; y < 120; y += 7) std::fill_n(&picture.at(y, 0), 480, 0.7f);
  const Json whole = {{"converge_mm", 2.0}, {"lines", 100}};
  const Json middle = {{"converge_mm", 0.5}, {"lines", 25}};
  EXPECT_EQ(shown(picture, middle).data, shown(picture, whole, {{"crt_zoom", 4}}).data);
}

// A signal holds the mean of fine detail in its own gamma, however many rows make a line.
TEST(Crt, DetailFinerThanTheBandSinksToTheLevelOfItsSignal) {
  Image board(96, 96, 3);
  for (int y = 0; y < 96; ++y)
    for (int x = y % 2; x < 96; x += 2) std::fill_n(&board.at(y, x), 3, 1.0f);
  const Json probe = {{"_black_probe", true}};
  const Image screen = shown(board, {{"lines", 24}, {"luma_lines", 12}}, probe);
  EXPECT_NEAR(std::pow(0.5, 2.2), mean_of(screen, 1), 0.01);
  // A probe sees the beam alone.
  const Json tube = {{"vignette", 0.9}, {"corner_r", 0.5}, {"phosphor", "amber"}, {"bulge", 0.3}};
  for (const float v : shown(Image(8, 8, 3, 0.02f), tube, probe).data) ASSERT_NEAR(0.02, v, 1e-5);
}

// At the limit in TV lines, two of which are a period, three tenths of a wave are left.
TEST(VideoSignal, ThreeTenthsPassAtTheLimitOfTheBand) {
  constexpr int width = 1200, periods = 50;
  const auto swing = [](bool in_colour, const VideoBand& band) {
    Image row(1, width, 3);
    for (int x = 0; x < width; ++x) {
      const double wave = 0.1 * std::cos(2.0 * kPi * periods * x / width);
      const double rgb[3] = {0.5 + wave, 0.5 + wave * (in_colour ? -0.299 / 0.587 : 1.0),
                             0.5 + wave * (in_colour ? 0.0 : 1.0)};
      for (int k = 0; k < 3; ++k) row.at(0, x, k) = static_cast<float>(std::pow(rgb[k], 2.2));
    }
    limit_bandwidth(row, band);
    const auto signal = [&](int x) { return std::pow(row.at(0, x, 0), 1.0 / 2.2); };
    return harmonic(width, 1.0 * width / periods, signal).real() / 0.1;
  };
  EXPECT_NEAR(0.3, swing(false, {100.0, 1.0}), 0.01);
  EXPECT_NEAR(0.3, swing(true, {1e6, 100.0}), 0.01);
  EXPECT_NEAR(1.0, swing(false, {1e6, 1.0}), 0.01);
  EXPECT_NEAR(0.0, swing(true, {1e6, 20.0}), 0.01);
}

TEST(VideoSignal, OverscanFillsTheScreenWithTheMiddle) {
  Image picture(100, 200, 3, 0.1f);
  for (int y = 10; y < 90; ++y) std::fill_n(&picture.at(y, 20), 480, 0.6f);
  const Image screen = cut_overscan(picture, 0.1);
  ASSERT_EQ(200, screen.w);
  for (const float v : screen.data) ASSERT_NEAR(0.6, v, 1e-6);
}

TEST(PhosphorMask, EachColourHasTheSameDotsAThirdOfAPeriodOn) {
  PhosphorMask mask;
  mask.period_px = 30.0;
  const MaskPeriod dots = draw_mask_period(mask);
  const int w = dots.light.w, h = dots.light.h, third = w / 3;
  ASSERT_TRUE(w % 6 == 0 && h % 2 == 0);
  double lit = 0.0;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const float red = dots.light.at(y, x, 0);
      ASSERT_NEAR(red, dots.light.at(y, (x + third) % w, 1), 2e-4);
      ASSERT_NEAR(red, dots.light.at(y, (x + 2 * third) % w, 2), 2e-4);
      ASSERT_NEAR(red, dots.light.at((y + h / 2) % h, (x + w / 2) % w, 0), 2e-4);
      lit += red > 0.5f * dots.light.at(0, 0, 0) ? 1.0 : 0.0;
    }
  // Dots of 0.8 in a hexagonal packing of circles, a third of them red.
  EXPECT_NEAR(0.64 * kPi / (2.0 * std::sqrt(3.0)) / 3.0, lit / (w * h), 0.005);
  EXPECT_NEAR(30.0 / std::sqrt(3.0), dots.height_px, 1e-9);
}

TEST(PhosphorMask, LightIsKeptOnAverage) {
  for (const bool stripes : {false, true})
    for (const double period : {3.0, 6.07, 17.3, 400.0})
      for (const double fill : {0.0, 0.8, 5.0}) {
        PhosphorMask mask = {stripes, period, fill, 0.7, 0.31, 0.77};
        const MaskPeriod one = draw_mask_period(mask);
        for (int k = 0; k < 3; ++k) EXPECT_NEAR(1.0, mean_of(one.light, k), 1e-4);
        if (period > 20.0 || fill == 0.0) continue;
        Image screen(519, 519, 3, 0.5f);
        light_phosphors(screen, mask);
        for (int k = 0; k < 3; ++k) EXPECT_NEAR(0.5, mean_of(screen, k), 0.004) << period;
      }
}

// The third harmonic of the stripes is white and folds back to 11 pixels from a period of 3.3.
TEST(PhosphorMask, StripesDoNotBeatWithThePixels) {
  Image screen(1, 330, 3, 1.0f);
  light_phosphors(screen, {true, 3.3, 0.85, 1.0, 0.31, 0.0});
  EXPECT_LT(std::abs(harmonic(330, 11.0, [&](int x) { return screen.at(0, x, 1); })), 0.05);
}

TEST(TubeGlass, CornersWiresAndBulge) {
  Image screen(200, 300, 3, 1.0f);
  shade_screen(screen, {1.0, 0.4, 0.1});
  EXPECT_EQ(0.0f, screen.at(2, 2));
  EXPECT_NEAR(1.0, screen.at(100, 150), 1e-4);
  EXPECT_NEAR(screen.at(30, 40), screen.at(169, 259, 2), 1e-5);
  screen = Image(200, 300, 3, 1.0f);
  shade_screen(screen, {4.0, 0.4, 0.1});
  EXPECT_NEAR(1.0 - 0.4 / 16.0, screen.at(0, 0), 1e-3);

  Image wired(240, 2, 3, 1.0f);
  cast_wires(wired, {4.0, 2.0, 1.5, 0.5});  // both lie beyond what is seen
  cast_wires(wired, {1.0, 2.0, 0.2, 0.5});  // too thin
  EXPECT_EQ(Image(240, 2, 3, 1.0f).data, wired.data);
  cast_wires(wired, {1.0, 2.0, 1.5, 0.5});
  EXPECT_NEAR(0.5, wired.at(80, 0), 0.03);
  EXPECT_NEAR(0.5, wired.at(159, 1, 2), 0.03);
  EXPECT_EQ(1.0f, wired.at(120, 0));

  Image ramp(101, 151, 3);
  for (int y = 0; y < ramp.h; ++y)
    for (int x = 0; x < ramp.w; ++x) ramp.at(y, x, 0) = static_cast<float>(x);
  const Image sphere = bulge_glass(ramp, {0.2, true}), cylinder = bulge_glass(ramp, {0.2, false});
  EXPECT_NEAR(150.0, sphere.at(0, 150), 0.6);
  EXPECT_NEAR(150.0, cylinder.at(50, 150), 0.6);
  EXPECT_EQ(0.0f, bulge_glass(Image(101, 151, 3, 1.0f), {-0.2, true}).at(50, 0));
}

TEST(TubeLight, ResponseRisesFromBlackToTheBrightestPhosphor) {
  const std::vector<float> response = tube_response();
  EXPECT_TRUE(response.front() == 0.0f && response.back() == 1.0f);
  for (std::size_t i = 1; i < response.size(); ++i) ASSERT_GT(response[i], response[i - 1]);
  EXPECT_NEAR(2.35 / 2.2, std::log2(response[128] / response[64]), 1e-4);
}

TEST(TubeLight, OnePhosphorAndABluishWhite) {
  const Json flat = {{"mask", "none"}, {"white_k", 9300}, {"adapt", 1}};
  const Image white = shown(Image(40, 40, 3, 0.1f), flat);
  EXPECT_NEAR(1.343 / 0.846, white.at(20, 20, 2) / white.at(20, 20, 0), 1e-3);
  const Image green = shown(Image(40, 40, 1, 0.1f), flat, {{"crt_phosphor", "green"}});
  EXPECT_NEAR(0.12, green.at(20, 20, 0) / green.at(20, 20, 1), 1e-5);
  EXPECT_NEAR(0.3, green.at(20, 20, 2) / green.at(20, 20, 1), 1e-5);
}

TEST(Crt, AGreyComesOutNearWhereItWentInAndWhiteDoesNotClip) {
  for (const char* mask : {"delta", "mask", "none"}) {
    const Json tube = {{"mask", mask}, {"spot", 0.33}, {"lines", 50}, {"depth", 0.6}};
    for (int k = 0; k < 3; ++k)
      EXPECT_NEAR(0.18, mean_of(shown(Image(200, 300, 3, 0.18f), tube), k), 0.03) << mask;
    const Image white = shown(Image(200, 300, 3, 0.95f), tube);
    const auto clipped =
        std::count_if(white.data.begin(), white.data.end(), [](float v) { return v > 0.995f; });
    EXPECT_LT(clipped, 0.02 * static_cast<double>(white.data.size())) << mask;
    EXPECT_GT(mean_of(white, 1), 0.5) << mask;
  }
}

TEST(Crt, DrawsByTheTubeAndNotByTheRaster) {
  const auto next_after = [](const char* mask, double px_um) {
    Rng rng = rng_from_key({9});
    shown(Image(20, 30, 3, 0.3f), {{"mask", mask}}, {}, px_um, &rng);
    return rng.next();
  };
  Rng rng = rng_from_key({9});
  EXPECT_EQ(rng.next(), next_after("none", 100.0));
  rng.next();
  const std::uint64_t third = rng.next();
  EXPECT_EQ(third, next_after("delta", 100.0));
  EXPECT_EQ(third, next_after("mask", 3000.0));
}

TEST(Crt, TubesThatNobodyCouldBuildStillShowAPicture) {
  const Json tubes = Json::parse(R"([{"lines": 0}, {"lines": 1e308}, {"lines": -5, "luma_lines": 0},
      {"pitch_mm": 0}, {"pitch_mm": -1}, {"pitch_mm": 1e30}, {"pitch_mm": 1e308, "dot": 1e308},
      {"nominal_in": 1e308}, {"nominal_in": -1}, {"bulge": -0.5}, {"bulge": 1e308},
      {"bulge": -1, "curve": "cylinder"}, {"wires": 1e9, "wire_mm": 1e9}, {"wires": -3},
      {"overscan": 0.45}, {"overscan": -1}, {"corner_r": 5}, {"vignette": 1e308}, {"spot": 1e308},
      {"spot": -1}, {"bloom": 9, "bloom_mm": 1e308}, {"camera_psf_um": 1e308}, {"depth": 1e308},
      {"converge_mm": 1e308}, {"white_k": 1e308, "adapt": -1e308}, {"dot": -1, "mask": "mask"}])");
  for (const Json& tube : tubes)
    for (const auto& [h, w] : {std::pair{1, 1}, {2, 2}, {8, 8}, {1, 50}, {33, 47}})
      for (const double px_um : {100.0, 1e30, std::nan("")}) {
        if (std::isnan(px_um) && h != 8) continue;  // a period of many pixels is dear to draw
        const Image screen = shown(Image(h, w, 3, 0.4f), tube, {}, px_um);
        ASSERT_TRUE(screen.h == h && screen.w == w);
        ASSERT_TRUE(is_light(screen)) << tube;
      }
  EXPECT_THROW(shown(Image(4, 4, 3), {{"spot", "wide"}}), OptionsError);
}

}  // namespace
}  // namespace morva
