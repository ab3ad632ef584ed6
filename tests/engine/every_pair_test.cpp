// Every film on every paper, and what a re-rolled stream may and may not change.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "engine/host.h"
#include "engine/maker.h"
#include "profiles/store.h"

namespace morva {
namespace {

class EveryPair : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(0, morva_profiles_load(MORVA_PROFILES_PATH, nullptr)); }
};

TEST_F(EveryPair, RendersToASheetOfFiniteLight) {
  const Scene scene = wedge(160, 107);
  const char* options =
      R"({"border": 0, "frame_style": "thin", "table": "linen", "mat": "double",
      "dev_uneven": 0.7, "stamp_text": "M", "expired_years": 4, "format": null,
      "print_cm": 12})";
  for (const std::string& film : maker().list("films", true))
    for (const std::string& paper : maker().list("papers", true)) {
      SCOPED_TRACE(film + " on " + paper);
      const Rendered sheet = render(scene, options, film.c_str(), paper.c_str());
      ASSERT_EQ(0, sheet.code) << sheet.message;
      const auto [least, most] = std::minmax_element(sheet.pixels.begin(), sheet.pixels.end());
      EXPECT_TRUE(*least >= 0.0f && *most <= 1.0f) << *least << " .. " << *most;
      EXPECT_GT(*most - *least, 0.2f);
      EXPECT_EQ(sheet.pixels, render(scene, options, film.c_str(), paper.c_str()).pixels);
    }
}

// Where two renders of one size differ, as the box [top, bottom) x [left, right) and a count.
struct Difference {
  int top = 1 << 20, bottom = 0, left = 1 << 20, right = 0;
  std::size_t pixels = 0;
};

Difference difference(const Rendered& a, const Rendered& b) {
  Difference found;
  for (int y = 0; y < a.height; ++y)
    for (int x = 0; x < a.width; ++x) {
      if (std::equal(a.at(y, x), a.at(y, x) + 3, b.at(y, x))) continue;
      found.top = std::min(found.top, y);
      found.bottom = std::max(found.bottom, y + 1);
      found.left = std::min(found.left, x);
      found.right = std::max(found.right, x + 1);
      ++found.pixels;
    }
  return found;
}

struct Varied {
  const char* film;
  const char* paper;
  bool has_table;         // instant film ends at its card
  const char* unchanged;  // streams that this film and paper draw nothing from
};

// One option object with every random stage on; each stream's second variant against the first.
TEST_F(EveryPair, AVariantReRollsItsOwnAspectAlone) {
  const Varied cases[] = {
      {"silver_400", "bw_warm", true, "print"},
      {"everyday_400", "color_gloss", true, "print"},
      {"slide_50", "scan_film", false, "print table"},
      {"instant_square", "color_scan", false, "print table frame develop"},
      {"collodion_glass", "ambrotype", true, "print develop"},
      {"tricolor_plates", "scan_film", false, "print table"},
      {"silver_125", "photogravure", true, ""},
      {"dry_plate", "bw_neutral", true, "print"},
  };
  const Scene scene = wedge(300, 200);
  const int table_px = 30;  // 1 cm where the print's 300 pixels are 10 cm
  for (const Varied& varied : cases) {
    const auto variant = [&](const std::string& stream) {
      const std::string options =
          R"({"border": 0.05, "frame_style": "thin", "table": "linen", "table_width_cm": 1,
              "sheet_cm": null, "print_cm": 10, "dev_uneven": 1, "format": null,
              "seed_variants": {")" +
          stream + "\": 1}}";
      return render(scene, options.c_str(), varied.film, varied.paper);
    };
    const Rendered first = variant("none");
    ASSERT_EQ(0, first.code) << first.message;
    for (const std::string stream : {"film", "frame", "print", "table", "develop"}) {
      SCOPED_TRACE(std::string(varied.film) + ", " + stream);
      const Rendered second = variant(stream);
      ASSERT_EQ(first.width, second.width);
      const Difference changed = difference(first, second);
      if (std::string(varied.unchanged).find(stream) != std::string::npos) {
        EXPECT_EQ(0u, changed.pixels);
        continue;
      }
      EXPECT_GT(changed.pixels, 0u);
      if (stream == "table") {
        EXPECT_EQ(0,
                  std::memcmp(first.at(first.height / 2, table_px + 20),
                              second.at(first.height / 2, table_px + 20), sizeof(float) * 3 * 200));
      } else if (varied.has_table) {  // within the sheet alone
        EXPECT_GE(changed.top, table_px - 1);
        EXPECT_LE(changed.bottom, first.height - table_px + 1);
      }
      if (stream == "frame") {  // the edges, not the picture
        EXPECT_LT(changed.pixels, static_cast<std::size_t>(first.width) * first.height / 8);
        EXPECT_EQ(0, std::memcmp(first.at(first.height / 2, first.width / 2 - 50),
                                 second.at(first.height / 2, first.width / 2 - 50),
                                 sizeof(float) * 3 * 100));
      }
    }
  }
}

}  // namespace
}  // namespace morva
