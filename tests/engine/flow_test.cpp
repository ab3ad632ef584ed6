// The walk from a picture to the sheet: grey, determinism, scale, border and what the flow
// measures.

#include "flow/flow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <new>
#include <stdexcept>
#include <tuple>
#include <utility>

#include "engine/host.h"
#include "flow/film_area.h"
#include "flow/options.h"
#include "flow/sheet.h"
#include "flow/sheet_plan.h"
#include "image/vector/isa.h"

namespace morva {
namespace {

class Flow : public HostTest {};

bool has_any(const Json& record, std::initializer_list<const char*> keys) {
  return std::any_of(keys.begin(), keys.end(),
                     [&](const char* key) { return truthy(get(record, key)); });
}

// But for films and papers that move tones on purpose: looks, plates, processes, scanners' glass,
// printing runs, relief.
TEST_F(Flow, MidGreyPrintsAsMidGreyThroughEveryFilm) {
  for (const std::string& film : maker().list("films", true)) {
    const Json stock = maker().load("films", film);
    const std::string type = get_text(stock, "type", "");
    if (has_any(stock, {"look", "dryplate"}) || type == "collodion" || type == "tricolor") continue;
    for (const std::string& paper : maker().list("papers", true)) {
      const Json record = maker().load("papers", paper);
      if (has_any(record, {"tone", "process", "scan", "repro", "surface"}) ||
          get(record, "kind") == "plate")
        continue;
      const Rendered r = render(
          Scene(5, 4, 0.18f), R"({"wb_mode": "custom", "grade": 2, "grain_mult": 0})", film, paper);
      ASSERT_EQ(0, r.code) << r.message;
      for (const float v : r.pixels) ASSERT_NEAR(0.18, v, 0.0009) << film << " on " << paper;
    }
  }
}

// Grains that need no light are a little density everywhere.
TEST_F(Flow, GrainsFogLightensASilverPrint) {
  for (const int width : {300, 3000}) {
    const Rendered r = render(Scene(width, 20, 0.18f), "", "silver_400");
    double mean = 0.0;
    for (const float v : r.pixels) mean += v / static_cast<double>(r.pixels.size());
    EXPECT_NEAR(mean, 0.1975, 0.0075) << width;
  }
}

Scene speckled(int width, int height) {
  Scene scene(width, height, 0.0f);
  for (std::size_t i = 0; i < scene.pixels.size(); ++i)
    scene.pixels[i] =
        static_cast<float>((i * 2654435761u) % 1000) * 0.002f + (i % 997 == 0 ? 20.0f : 0.0f);
  return scene;
}

// Pixels of 180 and of 15 micrometres: grain by its moments and grain by grain.
TEST_F(Flow, TheSameCallGivesTheSameBytesOnEveryInstructionSet) {
  const auto options = [](const std::string& dev) {
    return R"({"push": 1, "filter_rays": "star_four", "wb_temp": 30, "print_white": 0.4,
        "filter_diffusion": "mist_dense", "filter_grad": "grad_sunset", "dev": ")" +
           dev + "\"}";
  };
  for (const Scene& scene : {speckled(203, 131), speckled(2400, 9)})
    for (const auto& film : {std::pair{"everyday_400", "hand"}, {"silver_400", "stand"}}) {
      const auto again = [&] { return render(scene, options(film.second), film.first); };
      const Rendered first = again();
      ASSERT_EQ(0, first.code) << first.message;
      EXPECT_EQ(first.pixels, again().pixels);
      for (const vector::Isa isa :
           {vector::Isa::baseline, vector::Isa::avx2, vector::Isa::avx512}) {
        vector::use_isa(isa);
        EXPECT_EQ(first.pixels, again().pixels)
            << film.first << ", " << static_cast<int>(vector::active_isa());
      }
      vector::use_isa(vector::best_isa());
    }
}

TEST_F(Flow, BordersFollowThePaper) {
  const Scene scene(100, 60, 0.18f);
  const char* options = R"({"border": 0.05, "border_black": true})";
  const Rendered sheet = render(scene, options, "silver_50", "bw_warm");
  EXPECT_TRUE(sheet.width == 110 && sheet.height == 70);
  EXPECT_NEAR(0.955, sheet.at(0, 0)[1], 1e-6);
  const Rendered scan = render(scene, options, "everyday_400", "color_scan");
  EXPECT_LT(scan.at(0, 0)[0], 0.02f);
  const Rendered dark = render(Scene(8, 8, 0.0f), "", "everyday_400", "color_scan");
  EXPECT_NEAR(dark.at(0, 0)[0], scan.at(0, 0)[0], 1e-6);
}

// At 300 x 200 pixels each way to lay a rebate has a size of its own; plates have no wide one, and
// cards and tubes none.
TEST_F(Flow, TheRebateFollowsFormatAndGate) {
  const struct {
    const char *film, *paper, *style, *more;
    int width, height;
    const char* same_as = nullptr;  // another style
  } cases[] = {
      {"silver_50", "", "wide", "", 322, 222},
      {"silver_50", "", "wide", R"(, "format": "120", "frame_size": "6x9")", 312, 206},
      {"silver_50", "", "thin", R"(, "format": "120", "frame_size": "6x9")", 308, 208},
      // A crop has no gate of its own, but keeps its film.
      {"silver_50", "", "wide", R"(, "format": "120", "frame_size": "6x9", "crop": [0, 0, 1, 0.5])",
       322, 122},
      {"silver_50", "", "thin", R"(, "format": "120", "frame_size": "6x9", "crop": [0, 0, 1, 0.5])",
       308, 108},
      {"silver_50", "", "wide", R"(, "format": "4x5")", 320, 210},
      {"silver_50", "", "ragged", R"(, "format": "120", "frame": 0.1)", 360, 260},
      {"silver_50", "", "wide", R"(, "format": "120", "frame": 0.072)", 318, 234},
      {"silver_50", "", "wide", R"(, "format": "plate")", 0, 0, "thin"},
      {"collodion_glass", "", "wide", "", 0, 0, "thin"},
      {"instant_wide", "", "wide", "", 0, 0, "none"},
      {"everyday_400", "crt_delta", "wide", "", 0, 0, "none"},
  };
  for (const auto& c : cases) {
    const auto with = [&](const std::string& style) {
      const std::string options = R"({"frame_style": ")" + style + "\"" + c.more + "}";
      return render(Scene(300, 200, 0.18f), options, c.film, c.paper);
    };
    SCOPED_TRACE(std::string(c.film) + " " + c.style + c.more);
    const Rendered r = with(c.style);
    ASSERT_EQ(0, r.code) << r.message;
    if (c.same_as != nullptr) {
      EXPECT_TRUE(r.pixels == with(c.same_as).pixels);
    } else {
      EXPECT_EQ(std::pair(c.width, c.height), std::pair(r.width, r.height));
    }
  }
}

TEST_F(Flow, RefusesWhatIsNoPictureOrNoPaper) {
  const auto refusal = [](Image input, const Json& paper) -> std::string {
    RenderContext ctx;
    try {
      process(maker(), std::move(input), Json::object(), Json::object(), paper, {}, ctx);
    } catch (const std::invalid_argument& error) {
      return error.what();
    }
    return "";
  };
  for (const Image& input : {Image(2, 2, 1), Image(0, 2, 3), Image(2, 0, 3), Image(2, 2, 4)})
    EXPECT_EQ("вход — HxWx3, не пустой", refusal(input, nullptr));
  for (const Json& paper : {Json(), Json::array(), Json("bw_warm")})
    EXPECT_EQ("process: бумага не загружена", refusal(Image(2, 2, 3), paper));
}

TEST_F(Flow, MirrorAndTurnsReachThePicture) {
  Scene scene(3, 2, 0.02f);
  scene.pixels[0] = scene.pixels[1] = scene.pixels[2] = 1.0f;
  const auto brightest = [&](const char* options) {
    const Rendered r = render(scene, options, "silver_50");
    int best = 0;
    for (int i = 0; i < r.width * r.height; ++i)
      if (r.pixels[3 * i] > r.pixels[3 * best]) best = i;
    return std::to_string(r.width) + ":" + std::to_string(best);
  };
  EXPECT_EQ("3:0", brightest("{}"));
  EXPECT_EQ("3:2", brightest(R"({"mirror": true})"));
  EXPECT_EQ("2:1", brightest(R"({"rotate": 89.9})"));
  EXPECT_EQ("2:4", brightest(R"({"rotate": -90})"));
}

TEST_F(Flow, ASheetHoldsThePrintAndItsBorders) {
  const auto print_cm = [](bool instant) {
    Json opts = merged_options({{"sheet_cm", 24}, {"border", 0.1}});
    FilmFrame frame;
    frame.area.is_instant = instant;
    frame.picture = {3000, 2000};
    frame.rebate.w = 3300;
    frame.rebate.h = 2300;
    update_print_scale(opts, Json::object(), frame);
    return opts["print_cm"].get<double>();
  };
  EXPECT_NEAR(24.0, print_cm(false) * (1.0 + 2.0 * 0.1 * 3000 / 3300), 1e-12);
  EXPECT_EQ(30.0, print_cm(true));
}

TEST(Sheet, ABorderIsRefusedWhereNoSheetHoldsIt) {
  const std::array<float, 3> white = {1.0f, 1.0f, 1.0f};
  EXPECT_THROW(pad_border(Image(2, 32768, 3), 0.0001, white), std::bad_alloc);
  for (const double border : {1e30, 1e4, std::nan("")})
    EXPECT_THROW(pad_border(Image(2, 3, 3), border, white), std::bad_alloc);
  EXPECT_EQ(40000, pad_border(Image(2, 40000, 3), 0.0, white).w);
}

TEST(Sheet, WhiteFrameIsTheDeepestRaggedness) {
  Image mask(40, 60, 1);
  for (int y = 5; y < 36; ++y)
    for (int x = 4; x < 58; ++x) mask.at(y, x) = 1.0f;
  for (int x = 4; x < 11; ++x) mask.at(20, x) = 0.5f;   // a bite from the left
  for (int y = 33; y < 36; ++y) mask.at(y, 30) = 0.0f;  // and one from below
  const auto white = measure_white_frame(mask, 52.7, nullptr);
  EXPECT_EQ((std::array<double, 4>{5, 7, 11, 2}), white.value());
  // A preset shrinks the box by the gate's corners and adds what they take.
  const RebateStyle style = rebate_style({{"frame_style", "thin"}});
  EXPECT_NEAR(5 + 2 * 0.293, measure_white_frame(mask, 52.0, style.preset).value()[0], 1e-12);
  EXPECT_FALSE(measure_white_frame(Image(40, 60, 1), 52.0, nullptr));
  EXPECT_FALSE(measure_white_frame(mask, 0.0, style.preset));
}

}  // namespace
}  // namespace morva
