// The face that stamps are set in: what text it sets, where it is found, and that a broken font
// file is refused or used without its broken glyphs.

#include "finish/typeface.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "finish/font_finder.h"
#include "finish/font_tables.h"
#include "input/failure_of.h"

namespace morva {
namespace {

TEST(Typeface, SetsWhatCanBeSetAndDropsTheRest) {
  const double wide = 1e4;
  const TextLine plain = set_text("AVA", 40.0, wide);
  ASSERT_EQ(3u, plain.letters.size());
  EXPECT_LT(plain.width_px, 2.0 * set_text("A", 40.0, wide).width_px +
                                set_text("V", 40.0, wide).width_px);  // kerned
  // Controls, bytes that are no UTF-8, overlong forms, a lone surrogate, an emoji.
  for (const char* text : {"A\x01V\177A", "\377AV\300\257A", "A\xed\xa0\x80VA\xf0\x9f\x99",
                           "AVA\xf0\x9f\xa6\x84", "\365\200\200\200AVA\xe2\x82"})
    EXPECT_EQ(plain.width_px, set_text(text, 40.0, wide).width_px) << text;
  EXPECT_EQ(set_text("Ä", 40.0, wide).letters.size(), 1u);
  EXPECT_LT(set_text(std::string(1 << 20, 'M'), 40.0, 500.0).letters.size(), 30u);
  EXPECT_TRUE(set_text("", 40.0, wide).letters.empty());

  Image mask(20, 30, 1);  // smaller than a letter: what lies beyond is not drawn
  for (const double x : {-1e9, -35.0, -3.5, 25.0, 1e9}) draw_text(plain, x, 18.0, mask);
  draw_text(plain, 0.0, 1e6, mask);
  EXPECT_EQ(1.0f, *std::max_element(mask.data.begin(), mask.data.end()));
}

// The font that the system gives, to be patched: one face, its directory at the file's start.
struct PatchedFont {
  FontBytes bytes;

  PatchedFont() {
    FontFile font;
    offer_bold_grotesques([&](const FontFile& file) {
      font = file;
      return true;
    });
    std::ifstream in(font.path, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }

  std::size_t u16(std::size_t at) const { return bytes[at] * std::size_t{256} + bytes[at + 1]; }
  void put16(std::size_t at, std::size_t value) {
    bytes[at] = static_cast<unsigned char>(value >> 8);
    bytes[at + 1] = static_cast<unsigned char>(value);
  }
  // Where a table begins; 0 when there is none.
  std::size_t table(const std::string& tag) const {
    for (std::size_t i = 12; i < 12 + 16 * u16(4); i += 16)
      if (std::equal(tag.begin(), tag.end(), bytes.begin() + static_cast<std::ptrdiff_t>(i)))
        return u16(i + 8) * 65536 + u16(i + 10);
    return 0;
  }
  std::size_t glyphs() const { return u16(table("maxp") + 4); }
  std::size_t glyph_at(std::size_t glyph) const {
    const std::size_t loca = table("loca");
    return table("glyf") + (u16(table("head") + 50) == 0
                                ? 2 * u16(loca + 2 * glyph)
                                : u16(loca + 4 * glyph) * 65536 + u16(loca + 4 * glyph + 2));
  }
  std::vector<std::size_t> composites() const {
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < glyphs(); ++i)
      if (glyph_at(i) != glyph_at(i + 1) && u16(glyph_at(i)) >= 0x8000) found.push_back(i);
    return found;
  }
  bool whole() const { return read_font_tables(bytes, 0).has_value(); }
  bool whole(std::size_t glyph) const {
    return is_whole_glyph(bytes, read_font_tables(bytes, 0).value(), glyph);
  }
};

TEST(FontTables, OutlinesOutOfOrderRefuseTheFace) {
  const PatchedFont good;
  ASSERT_TRUE(good.whole());
  for (std::size_t i = 0; i < good.glyphs(); ++i) ASSERT_TRUE(good.whole(i)) << i;
  const std::size_t entry = good.u16(good.table("head") + 50) == 0 ? 2 : 4;
  const std::size_t offset = good.table("loca") + entry * 40;
  const std::size_t last = good.table("loca") + entry * good.glyphs();
  const auto refused = [&good](std::size_t at, std::size_t value, std::size_t words = 1) {
    PatchedFont font = good;
    for (std::size_t i = 0; i < words; ++i) font.put16(at + 2 * i, value);
    return !font.whole();
  };
  EXPECT_TRUE(refused(offset, 0xff00) && refused(last, 0xff00) && refused(offset, 0, entry / 2));
  EXPECT_TRUE(refused(good.table("cmap") + 2, 0xffff));    // too many characters for the map
  if (PatchedFont font = good; font.table("kern") != 0) {  // or for the kerning's table
    font.put16(font.table("kern") + 10, 0xffff);
    EXPECT_FALSE(read_font_tables(font.bytes, 0).value().has_kerning);
  }
}

TEST(FontTables, GlyphsThatRunInCirclesOrPastTheirEndAreDropped) {
  const PatchedFont good;
  const std::vector<std::size_t> composites = good.composites();
  ASSERT_GT(composites.size(), 12u);
  const std::size_t first = composites[0];
  const auto dropped = [&](std::size_t offset, std::size_t value) {
    PatchedFont font = good;
    font.put16(font.glyph_at(first) + offset, value);
    return !font.whole(first) && font.whole(first - 1);
  };
  EXPECT_TRUE(dropped(12, first));          // names itself
  EXPECT_TRUE(dropped(12, good.glyphs()));  // names nothing
  EXPECT_TRUE(dropped(10, 0));              // is placed by points
  EXPECT_TRUE(dropped(0, 0x7fff));          // has contours without end
  PatchedFont endless = good;               // a component more, and another, to the end
  const std::size_t at = good.glyph_at(first), end = good.glyph_at(first + 1);
  for (std::size_t i = at + 10; i + 6 <= end; i += 6) {
    endless.put16(i, 0x0022);
    endless.put16(i + 2, 0);
  }
  EXPECT_FALSE(endless.whole(first));

  PatchedFont chain = good;  // each composite of the next
  for (std::size_t i = 0; i + 1 < 12; ++i)
    chain.put16(chain.glyph_at(composites[i]) + 12, composites[i + 1]);
  EXPECT_FALSE(chain.whole(composites[0]));
  EXPECT_TRUE(chain.whole(composites[10]));

  std::size_t simple = 0;  // of one contour, whose last point is put off by one or far off
  while (good.glyph_at(simple) == good.glyph_at(simple + 1) || good.u16(good.glyph_at(simple)) != 1)
    ++simple;
  ASSERT_TRUE(good.whole(simple));
  for (const std::size_t last : {std::size_t{0x3fff}, std::size_t{0xffff}}) {
    PatchedFont font = good;
    font.put16(font.glyph_at(simple) + 10, last);
    EXPECT_FALSE(font.whole(simple)) << last;
  }
}

const char* const kNoFont =
    "вдавленный набор: нет системного гротеска (Verdana / Arial / Segoe UI Bold)";

// Why a line of text cannot be set; empty when it can.
std::string refusal() {
  return testing_files::failure_of([] { set_text("A", 40.0, 1e4); });
}

// A place for fonts of its own, in a process of its own: a folder that WINDIR names, and one that
// fontconfig reads, both empty at first.
struct OwnFonts {
  std::filesystem::path home =
      std::filesystem::temp_directory_path() / ("morva_fonts_" + std::to_string(getpid()));

  OwnFonts() {
    std::filesystem::create_directories(home / "Fonts");
    std::filesystem::create_directories(home / "installed");
    std::ofstream(home / "fonts.conf")
        << "<?xml version=\"1.0\"?><!DOCTYPE fontconfig SYSTEM \"fonts.dtd\"><fontconfig><dir>"
        << (home / "installed").string() << "</dir><cachedir>" << (home / "cache").string()
        << "</cachedir></fontconfig>";
    setenv("WINDIR", home.c_str(), 1);
    setenv("FONTCONFIG_FILE", (home / "fonts.conf").c_str(), 1);
  }
  ~OwnFonts() { std::filesystem::remove_all(home); }

  void write(const char* name, const std::string& bytes) const {
    std::ofstream(home / name, std::ios::binary | std::ios::trunc) << bytes;
  }
};

// Serifs, typewriters and broken files are no grotesque; a whole one is, and once read may go.
[[noreturn]] void look_for_a_grotesque(const char* place) {
  const FontBytes bytes = PatchedFont().bytes;
  const std::string whole(bytes.begin(), bytes.end());
  bool good = !whole.empty();
  std::vector<std::filesystem::path> others;
  for (const auto& entry : std::filesystem::recursive_directory_iterator("/usr/share/fonts")) {
    const std::string name = entry.path().filename().string();
    if (name.find("Serif-Bold.ttf") != name.npos || name.find("Mono-Bold.ttf") != name.npos)
      others.push_back(entry.path());
  }
  {
    const OwnFonts fonts;
    good = good && refusal() == kNoFont;
    for (const auto& path : others)
      std::filesystem::copy_file(path, fonts.home / "installed" / path.filename());
    for (const std::string& broken :
         {std::string(), whole.substr(0, 64), whole.substr(0, whole.size() / 2),
          std::string(5000, '\xff'), "ttcf" + std::string(60, '\x7f')}) {
      fonts.write("Fonts/verdanab.ttf", broken);
      good = good && refusal() == kNoFont;
    }
    fonts.write(place, whole);
    good = good && refusal().empty();
  }
  good = good && refusal().empty();
  std::_Exit(good ? 7 : 1);
}

// Letters stand where the font puts them, never to the left of the one before, and what cannot be
// drawn is left out.
[[noreturn]] void set_a_broken_font() {
  PatchedFont font;
  for (const std::size_t composite : font.composites())
    font.put16(font.glyph_at(composite) + 12, composite);
  for (std::size_t i = 0; i < font.u16(font.table("hhea") + 34); ++i)
    font.put16(font.table("hmtx") + 4 * i, 0x8000);
  if (const std::size_t gpos = font.table("GPOS")) {
    // A pair table of classes whose records lie far beyond the file.
    const std::size_t table[] = {1, 0, 0,      0, 10, 1,  4,  2,      0,      1,
                                 8, 2, 16,     4, 0,  26, 26, 0xffff, 0xffff, 2,
                                 1, 0, 0xffff, 0, 2,  1,  0,  0xffff, 20000};
    for (std::size_t i = 0; i < std::size(table); ++i) font.put16(gpos + 2 * i, table[i]);
  }
  TextLine line;
  {
    const OwnFonts fonts;
    fonts.write("Fonts/verdanab.ttf", std::string(font.bytes.begin(), font.bytes.end()));
    line = set_text("AVATAR ÄÖ To", 40.0, 1e4);
  }
  Image mask(60, 60, 1);
  draw_text(line, 5.0, 45.0, mask);
  const bool drawn = *std::max_element(mask.data.begin(), mask.data.end()) == 1.0f;
  const bool in_order = std::is_sorted(line.letters.begin(), line.letters.end(),
                                       [](auto& a, auto& b) { return a.x_px < b.x_px; });
  std::_Exit(drawn && in_order && line.letters.size() == 10 && line.width_px >= 0.0 ? 7 : 1);
}

TEST(TypefaceDeathTest, FindsAGrotesqueReadsItOnceAndOutlivesABrokenOne) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const char* place : {"Fonts/segoeuib.ttf", "installed/a.ttf"})
    EXPECT_EXIT(look_for_a_grotesque(place), ::testing::ExitedWithCode(7), "") << place;
  EXPECT_EXIT(set_a_broken_font(), ::testing::ExitedWithCode(7), "");
}

}  // namespace
}  // namespace morva
