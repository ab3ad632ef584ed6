// The tables of a TrueType font as they lie in its file, none of them trusted. The rasteriser
// follows offsets and counts blindly; whatever it will follow is walked here first.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

namespace morva {

using FontBytes = std::vector<unsigned char>;

// A table, or a glyph's record, within the file.
struct FontSpan {
  std::size_t at = 0;
  std::size_t size = 0;

  std::size_t end() const { return at + size; }
};

// A face whose tables are as long as its own counts say.
struct FontTables {
  std::size_t glyphs = 0;
  bool long_offsets = false;  // of `loca`: 32 bits, or 16 that count words
  FontSpan loca;
  FontSpan glyf;
  bool has_kerning = false;  // a whole `kern` table
};

// Where face `face` of the file begins, a single font or a collection; nothing when it has none
// such. The file must have 16 bytes or more.
std::optional<std::size_t> start_of_face(const FontBytes& file, int face);

// Nothing for a face without TrueType outlines, with a table that runs past the file's end, or with
// glyphs out of order.
std::optional<FontTables> read_font_tables(const FontBytes& file, std::size_t start);

// The glyph has an outline or is empty, and all that draws it lies within its record: its points,
// and the glyphs that it is composed of, few of them and not of itself.
bool is_whole_glyph(const FontBytes& file, const FontTables& tables, std::size_t glyph);

}  // namespace morva
