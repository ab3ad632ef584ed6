// Every film on every paper, and what a re-rolled stream may and may not change.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "engine/host.h"

namespace morva {
namespace {

class EveryPair : public HostTest {};

TEST_F(EveryPair, RendersToASheetOfFiniteLight) {
  const Scene scene = wedge(160, 107);
  const char* options =
      R"({"border": 0, "frame_style": "thin", "table": "linen", "mat": "double",
      "dev_uneven": 0.7, "stamp_text": "M", "expired_years": 4, "format": null,
      "print_cm": 12})";
  for (const std::string& film : maker().list("films", true))
    for (const std::string& paper : maker().list("papers", true)) {
      SCOPED_TRACE(film + " on " + paper);
      const Rendered sheet = render(scene, options, film, paper);
      ASSERT_EQ(0, sheet.code) << sheet.message;
      const auto [least, most] = std::minmax_element(sheet.pixels.begin(), sheet.pixels.end());
      EXPECT_TRUE(*least >= 0.0f && *most <= 1.0f) << *least << " .. " << *most;
      EXPECT_GT(*most - *least, 0.2f);
      EXPECT_EQ(sheet.pixels, render(scene, options, film, paper).pixels);
    }
}

// Where two renders of one size differ: the rows [top, bottom) and a count.
struct Difference {
  int top = 1 << 20, bottom = 0;
  std::size_t pixels = 0;
};

Difference difference(const Rendered& a, const Rendered& b) {
  Difference found;
  for (int y = 0; y < a.height; ++y)
    for (int x = 0; x < a.width; ++x) {
      if (std::equal(a.at(y, x), a.at(y, x) + 3, b.at(y, x))) continue;
      found.top = std::min(found.top, y);
      found.bottom = std::max(found.bottom, y + 1);
      ++found.pixels;
    }
  return found;
}

// One option object with every random stage on; each stream's second variant against the first.
TEST_F(EveryPair, AVariantReRollsItsOwnAspectAlone) {
  const struct {
    const char *film, *paper;
    bool has_table;         // instant film ends at its card
    std::string unchanged;  // streams that this film and paper draw nothing from
  } cases[] = {
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
  for (const auto& varied : cases) {
    const auto variant = [&](const std::string& stream) {
      const std::string options =
          R"({"border": 0.05, "frame_style": "thin", "table": "linen", "table_width_cm": 1,
              "sheet_cm": null, "print_cm": 10, "dev_uneven": 1, "format": null,
              "seed_variants": {")" +
          stream + "\": 1}}";
      return render(scene, options, varied.film, varied.paper);
    };
    const Rendered first = variant("none");
    ASSERT_EQ(0, first.code) << first.message;
    for (const std::string stream : {"film", "frame", "print", "table", "develop"}) {
      SCOPED_TRACE(std::string(varied.film) + ", " + stream);
      const Rendered second = variant(stream);
      ASSERT_EQ(first.width, second.width);
      const Difference changed = difference(first, second);
      if (varied.unchanged.find(stream) != std::string::npos) {
        EXPECT_EQ(0u, changed.pixels);
        continue;
      }
      EXPECT_GT(changed.pixels, 0u);
      const int middle = first.height / 2;
      if (stream == "table") {
        const float* sheet = first.at(middle, table_px + 20);
        EXPECT_TRUE(std::equal(sheet, sheet + 3 * 200, second.at(middle, table_px + 20)));
      } else if (varied.has_table) {  // within the sheet alone
        EXPECT_GE(changed.top, table_px - 1);
        EXPECT_LE(changed.bottom, first.height - table_px + 1);
      }
      if (stream == "frame") {  // the edges, not the picture
        EXPECT_LT(changed.pixels, static_cast<std::size_t>(first.width) * first.height / 8);
        const float* picture = first.at(middle, first.width / 2 - 50);
        EXPECT_TRUE(
            std::equal(picture, picture + 3 * 100, second.at(middle, first.width / 2 - 50)));
      }
    }
  }
}

}  // namespace
}  // namespace morva
