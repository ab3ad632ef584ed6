// The press: what lands of an even tone, whose plates move and whose do not, what is drawn, and
// numbers that no press has.

#include "repro/offset.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

#include "repro/inks.h"

namespace morva {
namespace {

Json press_of(const char* keys) {
  return {{"repro", "offset"}, {"offset", Json::parse(keys)}};
}

// At the picture's own pixels.
Image run_off(const Image& picture, const Json& paper, double px_um, Rng* rng = nullptr) {
  Rng own = rng_from_key({7});
  RasterScale scale;
  scale.plan = plan_raster(paper, Json::object(), px_um);
  RenderContext ctx;
  return print_offset(picture, paper, px_um, scale, rng != nullptr ? *rng : own, ctx);
}

TEST(Offset, AnEvenGreyKeepsItsLightUnderTheScreen) {
  const Json paper = press_of(R"({"misregister_mm": 0, "psf_um": 0})");
  const float sheet = printing_paper("coated")[1];
  // Four screens at their angles fall on each other by chance, as the print model has it.
  for (const auto& [channels, tolerance] : {std::pair{1, 0.004}, {3, 0.02}})
    for (const float grey : {0.2f, 0.5f, 0.8f}) {
      const Image print = run_off(Image(400, 400, channels, grey), paper, 25400.0 / 150.0 / 6.37);
      double sum = 0.0;
      for (const float v : print.data) sum += v;
      EXPECT_NEAR(grey * sheet, sum / static_cast<double>(print.data.size()), tolerance) << grey;
    }
  // 1200 lines lie far below a pixel: the tone stays even.
  const Image even =
      run_off(Image(5, 7, 1, 0.3f), press_of(R"({"lpi": 1200, "misregister_mm": 0})"), 60.0);
  for (const float v : even.data) EXPECT_NEAR(0.3f * sheet, v, 1e-3);
}

// The cyan plate is the first to be drawn; red light sees little but its ink.
TEST(Offset, APlateMovesAsAWholeAndBlackStandsStill) {
  const Json moves = press_of(R"({"lpi": 1200, "misregister_mm": 0.3, "psf_um": 0})");
  const Json stands = press_of(R"({"lpi": 1200, "misregister_mm": 0, "psf_um": 0})");
  Image cyan(31, 37, 3, 1.0f), grey(31, 37, 1, 1.0f);
  for (int y = 4; y < 19; ++y)
    for (int x = 9; x < 22; ++x) cyan.at(y, x) = grey.at(y, x) = 0.1f;
  Rng rng = rng_from_key({7});
  const auto right = static_cast<int>(std::nearbyint(rng.normal() * 5.0));
  const auto down = static_cast<int>(std::nearbyint(rng.normal() * 5.0));
  ASSERT_TRUE(right != 0 && down != 0);
  const Image still = run_off(cyan, stands, 60.0), moved = run_off(cyan, moves, 60.0);
  for (int y = 0; y < 31; ++y)
    for (int x = 0; x < 37; ++x)
      ASSERT_NEAR(still.at(y, x), moved.at((y + down + 31) % 31, (x + right + 37) % 37), 0.02);
  EXPECT_EQ(run_off(grey, stands, 60.0).data, run_off(grey, moves, 60.0).data);
}

// Two uniforms for a screen, two normals for a plate that is not black and moves by half a pixel.
TEST(Offset, DrawsWhatItsPlatesNeed) {
  const auto draws = [](int channels, const char* keys) {
    Rng rng = rng_from_key({11}), counted = rng;
    run_off(Image(8, 8, channels, 0.5f), press_of(keys), 25.0, &rng);
    const std::uint64_t next = rng.next();
    int n = 0;
    while (counted.next() != next && n < 1000) ++n;
    return n;
  };
  EXPECT_EQ(4 * 2 + 3 * 4, draws(3, R"({"misregister_mm": 0.05})"));
  EXPECT_EQ(4 * 2, draws(3, R"({"misregister_mm": 0.01})"));
  EXPECT_EQ(3 * 4, draws(3, R"({"misregister_mm": 0.05, "lpi": 1200})"));
  EXPECT_EQ(2, draws(1, R"({"misregister_mm": 0.05})"));
}

TEST(Offset, PrintsWhateverItsNumbers) {
  for (const char* key :
       {"lpi", "misregister_mm", "dot_gain", "gain_comp", "tac", "gcr", "psf_um", "mottle"})
    for (const double value : {0.0, -3.0, 0.6, 1e30, -1e30, std::nan("")})
      for (const int channels : {1, 3})
        for (const double px_um : {1e-30, 25.0, 1e30}) {
          Json paper = press_of("{}");
          paper["offset"][key] = value;
          const Image sheet = run_off(Image(9, 14, channels, 0.4f), paper, px_um);
          for (const float v : sheet.data) ASSERT_TRUE(v >= 0.0f && v <= 1.0f) << paper << v;
        }
}

}  // namespace
}  // namespace morva
