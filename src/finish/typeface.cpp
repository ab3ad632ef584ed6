#include "finish/typeface.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "finish/font_finder.h"
#include "finish/font_tables.h"
#include "image/elementary.h"

// The same outlines make the same letters on every machine.
#define STBTT_STATIC
#define STBTT_ifloor(x) (static_cast<int>(std::floor(x)))
#define STBTT_iceil(x) (static_cast<int>(std::ceil(x)))
#define STBTT_sqrt(x) std::sqrt(x)
#define STBTT_pow(x, y) morva::elementary::pow(x, y)
#define STBTT_fmod(x, y) std::fmod(x, y)
#define STBTT_cos(x) morva::elementary::cos(x)
#define STBTT_acos(x) (1.5707963267948966 - morva::elementary::atan2(x, std::sqrt(1.0 - (x) * (x))))
#define STBTT_fabs(x) std::fabs(x)
#define STBTT_assert(x) (static_cast<void>(x))
#define STB_TRUETYPE_IMPLEMENTATION
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#endif
#include <stb/stb_truetype.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace morva {

namespace {

constexpr std::size_t kLargestFontFile = std::size_t{64} << 20;
// Offsets of 16 bits that the character map and the kerning are followed by stay within this.
constexpr std::size_t kRoomPastEnd = std::size_t{1} << 20;
constexpr std::size_t kMostLetters = 4096;
constexpr double kLargestGlyph = 8.0;  // of the line's height

struct Typeface {
  FontBytes file;
  FontTables tables;
  stbtt_fontinfo info{};  // points into `file`
  int cap_height = 0;     // font units
  int line_height = 0;    // ascent to descent
};

FontBytes read_font_file(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  const std::streamoff size = in ? static_cast<std::streamoff>(in.tellg()) : 0;
  if (size < 16 || static_cast<std::size_t>(size) > kLargestFontFile) return {};
  FontBytes bytes(static_cast<std::size_t>(size));
  in.seekg(0);
  in.read(reinterpret_cast<char*>(bytes.data()), size);
  return in ? bytes : FontBytes();
}

// Zero for a character that the face lacks or whose outline is broken.
int glyph_of(const Typeface& face, char32_t character) {
  if (character == '\n' || character == '\t') character = ' ';
  if (character < 0x20 || (character >= 0x7F && character < 0xA0)) return 0;
  const int glyph = stbtt_FindGlyphIndex(&face.info, static_cast<int>(character));
  const bool whole =
      glyph > 0 && is_whole_glyph(face.file, face.tables, static_cast<std::size_t>(glyph));
  return whole ? glyph : 0;
}

bool open_typeface(const FontFile& font, Typeface& face) {
  face.file = read_font_file(font.path);
  if (face.file.empty()) return false;
  const auto start = start_of_face(face.file, font.face);
  const auto tables = start ? read_font_tables(face.file, *start) : std::nullopt;
  if (!tables) return false;
  face.tables = *tables;
  face.file.resize(face.file.size() + kRoomPastEnd);
  if (!stbtt_InitFont(&face.info, face.file.data(), static_cast<int>(*start))) return false;
  // Pairs of Latin letters stand in `kern`; the other table of kerning says the same at length.
  face.info.gpos = 0;
  if (!face.tables.has_kerning) face.info.kern = 0;
  for (const char32_t needed : {U'H', U'a', U'0'})
    if (glyph_of(face, needed) == 0) return false;
  int ascent = 0, descent = 0, x0 = 0, x1 = 0, y0 = 0;
  stbtt_GetFontVMetrics(&face.info, &ascent, &descent, nullptr);
  face.line_height = ascent - descent;
  if (!stbtt_GetGlyphBox(&face.info, glyph_of(face, U'H'), &x0, &y0, &x1, &face.cap_height))
    return false;
  return face.cap_height > 0 && face.cap_height <= face.line_height;
}

const Typeface& bold_grotesque() {
  static const Typeface face = [] {
    Typeface found;
    if (!offer_bold_grotesques([&](const FontFile& font) { return open_typeface(font, found); }))
      throw std::runtime_error(
          "вдавленный набор: нет системного гротеска (Verdana / Arial / Segoe UI Bold)");
    return found;
  }();
  return face;
}

// The next character of UTF-8 text; nothing for a byte that begins none, which is stepped over.
// Overlong forms, surrogates and what lies beyond Unicode are no characters.
std::optional<char32_t> next_character(std::string_view text, std::size_t& at) {
  constexpr char32_t least_of_length[] = {0, 0, 0x80, 0x800, 0x10000};
  const auto lead = static_cast<unsigned char>(text[at++]);
  if (lead < 0x80) return lead;
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() - at < length - 1) return std::nullopt;
  char32_t character = lead & (0x7Fu >> length);
  for (std::size_t i = 0; i < length - 1; ++i) {
    const auto byte = static_cast<unsigned char>(text[at + i]);
    if ((byte & 0xC0) != 0x80) return std::nullopt;
    character = character << 6 | (byte & 0x3Fu);
  }
  const bool surrogate = character >= 0xD800 && character < 0xE000;
  if (character < least_of_length[length] || character > 0x10FFFF || surrogate) return std::nullopt;
  at += length - 1;
  return character;
}

struct Coverage {
  std::vector<unsigned char> levels;
  int w = 0, h = 0, x = 0, y = 0;  // its place: whole pixels from the letter's origin
};

Coverage rasterise(const Typeface& face, const TextLine& line, int glyph, double shift_x,
                   double shift_y) {
  const auto scale = static_cast<float>(line.scale);
  const auto dx = static_cast<float>(shift_x);
  const auto dy = static_cast<float>(shift_y);
  Coverage letter;
  int right = 0, bottom = 0;
  stbtt_GetGlyphBitmapBoxSubpixel(&face.info, glyph, scale, scale, dx, dy, &letter.x, &letter.y,
                                  &right, &bottom);
  letter.w = right - letter.x;
  letter.h = bottom - letter.y;
  const double largest = kLargestGlyph * (line.scale * face.line_height + 1.0);
  if (letter.w < 1 || letter.h < 1 || letter.w > largest || letter.h > largest) return {};
  letter.levels.assign(static_cast<std::size_t>(letter.w) * letter.h, 0);
  stbtt_MakeGlyphBitmapSubpixel(&face.info, letter.levels.data(), letter.w, letter.h, letter.w,
                                scale, scale, dx, dy, glyph);
  return letter;
}

// Letters may touch; a pixel takes the most that any of them covers.
void draw_coverage(const Coverage& letter, int x, int y, Image& mask) {
  const int first_row = std::max(0, -y), last_row = std::min(letter.h, mask.h - y);
  const int first_column = std::max(0, -x), last_column = std::min(letter.w, mask.w - x);
  for (int j = first_row; j < last_row; ++j) {
    const unsigned char* levels = &letter.levels[static_cast<std::size_t>(j) * letter.w];
    for (int i = first_column; i < last_column; ++i)
      mask.at(y + j, x + i) =
          std::max(mask.at(y + j, x + i), static_cast<float>(levels[i]) / 255.0f);
  }
}

}  // namespace

TextLine set_text(const std::string& text, double height_px, double longest_px) {
  const Typeface& face = bold_grotesque();
  TextLine line;
  line.scale = height_px / face.line_height;
  line.cap_px = line.scale * face.cap_height;
  int before = 0;
  for (std::size_t at = 0; at < text.size();) {
    if (line.width_px > longest_px || line.letters.size() >= kMostLetters) break;
    const auto character = next_character(text, at);
    const int glyph = character ? glyph_of(face, *character) : 0;
    if (glyph == 0) continue;
    if (before != 0) {
      const double kerned =
          line.width_px + line.scale * stbtt_GetGlyphKernAdvance(&face.info, before, glyph);
      line.width_px = std::max(line.letters.back().x_px, kerned);
    }
    line.letters.push_back({glyph, line.width_px});
    int advance = 0;
    stbtt_GetGlyphHMetrics(&face.info, glyph, &advance, nullptr);
    line.width_px += line.scale * std::max(0, advance);  // nothing runs leftwards
    before = glyph;
  }
  return line;
}

void draw_text(const TextLine& line, double x, double baseline, Image& mask) {
  const Typeface& face = bold_grotesque();
  const double whole_y = std::floor(baseline);
  const double reach = kLargestGlyph * (line.scale * face.line_height + 1.0);
  for (const TextLine::Letter& letter : line.letters) {
    const double pen = x + letter.x_px;
    if (!(pen > -reach && pen < mask.w + reach)) continue;
    const double whole_x = std::floor(pen);
    const Coverage coverage =
        rasterise(face, line, letter.glyph, pen - whole_x, baseline - whole_y);
    draw_coverage(coverage, static_cast<int>(whole_x) + coverage.x,
                  static_cast<int>(whole_y) + coverage.y, mask);
  }
}

}  // namespace morva
