// The way of a print to its medium: which one, and at which size.

#include "repro/repro.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "profiles/store.h"
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
  for (const char* medium : {"inkjet", "offset", "crt"})
    for (const auto& [h, w] : {std::pair(1, 1), {1, 23}, {31, 1}, {37, 53}})
      for (const int c : {1, 3})
        for (const double px_um : {12.0, 60.0, 120.0, 400.0, 1e-30, 1e30})
          for (const char* raster : {"auto", "off"}) {
            const Image sheet =
                reproduced(ramp(h, w, c), {{"repro", medium}}, px_um, {{"repro_raster", raster}});
            ASSERT_TRUE(sheet.h == h && sheet.w == w && sheet.c == 3) << medium << " " << px_um;
            for (const float v : sheet.data) ASSERT_TRUE(v >= 0.0f && v <= 1.0f) << medium;
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
    const auto [least, most] = std::minmax_element(sheet.data.begin(), sheet.data.end());
    return *most - *least;
  };
  const Image flat = reproduced(grey, paper, px_um, off), screened = reproduced(grey, paper, px_um);
  EXPECT_LT(range(extract_channel(flat, 0)), 1e-6);
  EXPECT_GT(range(extract_channel(screened, 0)), 0.03);
}

TEST(Repro, AnUnknownNameIsTold) {
  const auto told = [](const char* paper) -> std::string {
    try {
      reproduced(ramp(2, 2, 3), Json::parse(paper), 60.0);
    } catch (const std::exception& error) {
      return error.what();
    }
    return "";
  };
  EXPECT_EQ("печать: тираж (reproprint — plotter)", told(R"({"repro": "plotter"})"));
  for (const char* paper : {R"({"repro": "offset", "offset": {"inks": "gold"}})",
                            R"({"repro": "inkjet", "inkjet": {"base": "Coated"}})",
                            R"({"repro": "inkjet", "inkjet": {"inks": "none"}})",
                            R"({"repro": "crt", "crt": {"phosphor": "ruby"}})"})
    EXPECT_EQ("invalid map<K, T> key", told(paper));
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
