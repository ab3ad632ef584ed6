// The way of a print to its medium: which one, at which size, and from which inks.

#include "repro/repro.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "image/errors.h"
#include "profiles/store.h"
#include "repro/inks.h"
#include "repro/raster_plan.h"

namespace morva {
namespace {

Image ramp(int h, int w, int c) {
  Image picture(h, w, c);
  for (std::size_t i = 0; i < picture.data.size(); ++i)
    picture.data[i] = static_cast<float>(i % 97) / 96.0f;
  return picture;
}

Image reproduced(Image print, const Json& paper, double px_um,
                 const Json& options = Json::object()) {
  Rng rng = rng_from_key({20260821, 3, 0});
  RenderContext ctx;
  return repro_stage(std::move(print), paper, options, px_um, rng, ctx);
}

TEST(Repro, ThePictureKeepsItsSizeOnEveryMedium) {
  const ProfileStore store{std::filesystem::path(MORVA_PROFILES_PATH)};  // where drops are placed
  const Json off = {{"repro_raster", "off"}}, on = Json::object();
  for (const char* medium : {"inkjet", "offset", "crt"})
    for (const auto& [h, w] : {std::pair(1, 1), {1, 23}, {31, 1}, {37, 53}})
      for (const int c : {1, 3})
        for (const double px_um : {12.0, 60.0, 120.0, 400.0, 1e-30, 1e30}) {
          const Json paper = {{"repro", medium}};
          for (const Json& options : {on, off}) {
            const Image sheet = reproduced(ramp(h, w, c), paper, px_um, options);
            ASSERT_TRUE(sheet.h == h && sheet.w == w && sheet.c == 3) << medium << " " << px_um;
            for (const float v : sheet.data) ASSERT_TRUE(v >= 0.0f && v <= 1.0f) << medium;
          }
        }
}

// A raster that is carried only when it is drawn larger still leaves its screen in the picture.
TEST(Repro, ALargerRasterIsSeenFromAfar) {
  const Json paper = {{"repro", "offset"}, {"offset", {{"psf_um", 0}, {"misregister_mm", 0}}}};
  const Json off = {{"repro_raster", "off"}};
  const double px_um = 100.0;
  ASSERT_FALSE(plan_raster(paper, off, px_um).resolved);
  const Image grey(60, 60, 3, 0.3f);
  const auto range = [](const Image& sheet) {
    float low = 1.0f, high = 0.0f;
    for (const float v : sheet.data) low = std::min(low, v), high = std::max(high, v);
    return high - low;
  };
  const auto mean = [](const Image& sheet) {
    double sum = 0.0;
    for (const float v : sheet.data) sum += v;
    return sum / static_cast<double>(sheet.data.size());
  };
  const Image flat = reproduced(grey, paper, px_um, off), screened = reproduced(grey, paper, px_um);
  EXPECT_LT(range(extract_channel(flat, 0)), 1e-6);
  EXPECT_GT(range(extract_channel(screened, 0)), 0.03);
  EXPECT_NEAR(mean(flat), mean(screened), 0.03);
}

TEST(Repro, OneChannelOnThePressIsTheBlackPlateAlone) {
  const Json paper = {{"repro", "offset"},
                      {"offset", {{"inks", "offset_newsprint"}, {"base", "newsprint"}}}};
  const Image sheet = reproduced(ramp(40, 40, 1), paper, 60.0);
  const std::array<float, 3> base = printing_paper("newsprint");
  const std::array<float, 3> black = ink_set("offset_newsprint")[kBlack];
  const auto ink = [&](std::size_t i, std::size_t k) {
    return (1.0f - sheet.data[3 * i + k] / base[k]) / (1.0f - black[k]);
  };
  float most = 0.0f;
  for (std::size_t i = 0; i < sheet.pixels(); ++i) {
    ASSERT_NEAR(ink(i, 0), ink(i, 1), 1e-5);
    ASSERT_NEAR(ink(i, 0), ink(i, 2), 1e-5);
    most = std::max(most, ink(i, 0));
  }
  EXPECT_GT(most, 0.5f);
}

TEST(Repro, AnUnknownMediumIsNamed) {
  try {
    reproduced(ramp(2, 2, 3), {{"repro", "plotter"}}, 60.0);
    FAIL();
  } catch (const NotPorted& error) {
    EXPECT_STREQ(error.what(), "печать: тираж (reproprint — plotter)");
  }
  for (const char* paper : {R"({"repro": "offset", "offset": {"inks": "gold"}})",
                            R"({"repro": "inkjet", "inkjet": {"base": "vellum"}})"})
    try {
      reproduced(ramp(2, 2, 3), Json::parse(paper), 60.0);
      FAIL() << paper;
    } catch (const std::out_of_range& error) {
      EXPECT_STREQ(error.what(), "invalid map<K, T> key");
    }
  for (const char* paper : {"{}", R"({"repro": ""})", R"({"repro": null})"})
    EXPECT_EQ(reproduced(ramp(2, 3, 3), Json::parse(paper), 60.0).data, ramp(2, 3, 3).data);
}

TEST(Repro, TheFilmLendsItsTubeToAPaperWithoutOne) {
  const Json film = {{"crt", {{"mask", "none"}}}}, own = {{"crt", {{"mask", "mask"}}}};
  EXPECT_EQ(with_tube_of(film, Json::object()), film);
  EXPECT_EQ(with_tube_of(film, {{"crt", nullptr}}), film);
  EXPECT_EQ(with_tube_of(film, own), own);
  EXPECT_EQ(with_tube_of(Json::object(), Json::object()), Json::object());
}

}  // namespace
}  // namespace morva
