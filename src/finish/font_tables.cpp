#include "finish/font_tables.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace morva {

namespace {

constexpr std::size_t kMostPoints = 16384;  // of a glyph with all its components
constexpr std::size_t kMostComponents = 256;
constexpr int kDeepestComponent = 8;

std::size_t u16(const FontBytes& file, std::size_t at) {
  return file[at] * std::size_t{256} + file[at + 1];
}

std::size_t u32(const FontBytes& file, std::size_t at) {
  return u16(file, at) * 65536 + u16(file, at + 2);
}

// What the file's table directory at `start` names.
class Directory {
 public:
  Directory(const FontBytes& file, std::size_t start) : file_(file), start_(start) {
    if (file.size() >= 12 && start <= file.size() - 12) count_ = u16(file, start + 4);
  }

  bool lies_within_file() const {
    const std::size_t size = file_.size();
    if (count_ == 0 || std::size_t{16} * count_ > size - 12 - start_) return false;
    for (std::size_t i = 0; i < count_; ++i) {
      const FontSpan table = entry(i);
      if (table.at > size || table.size > size - table.at) return false;
    }
    return true;
  }

  std::optional<FontSpan> find(const char* tag, std::size_t least_size) const {
    for (std::size_t i = 0; i < count_; ++i)
      if (std::memcmp(&file_[start_ + 12 + 16 * i], tag, 4) == 0)
        return entry(i).size >= least_size ? std::optional(entry(i)) : std::nullopt;
    return std::nullopt;
  }

 private:
  FontSpan entry(std::size_t i) const {
    const std::size_t at = start_ + 12 + 16 * i;
    return {u32(file_, at + 8), u32(file_, at + 12)};
  }

  const FontBytes& file_;
  std::size_t start_;
  std::size_t count_ = 0;
};

// The maps of Unicode and of Windows; what a font keeps for older machines is never asked.
bool is_whole_character_map(const FontBytes& file, const FontSpan& cmap) {
  constexpr std::size_t unicode = 0, windows = 3;
  const std::size_t count = u16(file, cmap.at + 2);
  if (4 + 8 * count > cmap.size) return false;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t record = cmap.at + 4 + 8 * i;
    const std::size_t platform = u16(file, record);
    if (platform != unicode && platform != windows) continue;
    const std::size_t offset = u32(file, record + 4);
    if (offset > cmap.size || cmap.size - offset < 16) return false;
    const std::size_t at = cmap.at + offset;
    const std::size_t format = u16(file, at);
    if (format == 12 || format == 13) {
      if (u32(file, at + 12) > (cmap.size - offset - 16) / 12) return false;
    } else if (format == 4) {
      const std::size_t segments = u16(file, at + 6) / 2;
      if (segments == 0 || 16 + 8 * segments > cmap.size - offset) return false;
    }
  }
  return true;
}

bool is_whole_kerning(const FontBytes& file, const FontSpan& kern) {
  constexpr std::size_t pairs_at = 18, pair_size = 6;
  return kern.size >= pairs_at && u16(file, kern.at + 10) <= (kern.size - pairs_at) / pair_size;
}

std::size_t outline_offset(const FontBytes& file, const FontTables& tables, std::size_t i) {
  return tables.long_offsets ? u32(file, tables.loca.at + 4 * i)
                             : 2 * u16(file, tables.loca.at + 2 * i);
}

bool outlines_lie_in_order(const FontBytes& file, const FontTables& tables) {
  std::size_t before = 0;
  for (std::size_t i = 0; i <= tables.glyphs; ++i) {
    const std::size_t offset = outline_offset(file, tables, i);
    if (offset < before || offset > tables.glyf.size) return false;
    before = offset;
  }
  return true;
}

FontSpan outline_of(const FontBytes& file, const FontTables& tables, std::size_t glyph) {
  const std::size_t first = outline_offset(file, tables, glyph);
  return {tables.glyf.at + first, outline_offset(file, tables, glyph + 1) - first};
}

// A glyph's own points, counted into `points`: the last of each contour, the hinting, the points'
// flags, and their steps across and down in as many bytes as the flags say.
bool are_whole_contours(const FontBytes& file, const FontSpan& outline, std::size_t contours,
                        std::size_t& points) {
  std::size_t at = outline.at + 10;
  if (2 * contours + 2 > outline.end() - at) return false;
  std::size_t count = 0, last_contour = 0;
  for (std::size_t i = 0; i < contours; ++i, at += 2) {
    const std::size_t upto = u16(file, at) + 1;
    if (upto <= count) return false;
    last_contour = upto - count;
    count = upto;
  }
  points += count;
  at += 2 + u16(file, at);
  constexpr std::size_t on_curve = 1, repeated = 8;
  const auto step_bytes = [](std::size_t flags, std::size_t one_byte, std::size_t same) {
    return (flags & one_byte) != 0 ? 1u : (flags & same) != 0 ? 0u : 2u;
  };
  std::size_t flags = 0, steps = 0;
  for (std::size_t i = 0; i < count;) {
    if (at >= outline.end()) return false;
    flags = file[at++];
    std::size_t run = 1;
    if ((flags & repeated) != 0) {
      if (at >= outline.end()) return false;
      run += file[at++];
    }
    steps += std::min(run, count - i) * (step_bytes(flags, 2, 16) + step_bytes(flags, 4, 32));
    i += run;
  }
  // A contour that starts off the curve asks for the point after its first.
  if (last_contour == 1 && (flags & on_curve) == 0) return false;
  return at <= outline.end() && steps <= outline.end() - at;
}

// Adds the glyphs that a composite names to `named`.
bool read_components(const FontBytes& file, const FontSpan& outline,
                     std::vector<std::size_t>& named) {
  constexpr std::size_t words = 1, placed_by_offset = 2, scaled = 8, more = 32, two_scales = 64,
                        two_by_two = 128;
  std::size_t at = outline.at + 10;
  for (std::size_t flags = more; (flags & more) != 0;) {
    if (outline.end() - at < 4 || named.size() == kMostComponents) return false;
    flags = u16(file, at);
    named.push_back(u16(file, at + 2));
    if ((flags & placed_by_offset) == 0) return false;  // placed by points: not drawn
    const std::size_t size = 4 + ((flags & words) != 0 ? 4u : 2u) +
                             ((flags & scaled) != 0       ? 2u
                              : (flags & two_scales) != 0 ? 4u
                              : (flags & two_by_two) != 0 ? 8u
                                                          : 0u);
    if (outline.end() - at < size) return false;
    at += size;
  }
  return true;
}

}  // namespace

std::optional<std::size_t> start_of_face(const FontBytes& file, int face) {
  if (std::memcmp(file.data(), "ttcf", 4) != 0)
    return face == 0 ? std::optional<std::size_t>(0) : std::nullopt;
  if (face < 0 || static_cast<std::size_t>(face) >= u32(file, 8)) return std::nullopt;
  const std::size_t at = 12 + std::size_t{4} * static_cast<std::size_t>(face);
  return at + 4 <= file.size() ? std::optional(u32(file, at)) : std::nullopt;
}

std::optional<FontTables> read_font_tables(const FontBytes& file, std::size_t start) {
  const Directory directory(file, start);
  if (!directory.lies_within_file()) return std::nullopt;
  const auto head = directory.find("head", 54);
  const auto hhea = directory.find("hhea", 36);
  const auto maxp = directory.find("maxp", 6);
  const auto cmap = directory.find("cmap", 4);
  const auto glyf = directory.find("glyf", 1);
  if (!head || !hhea || !maxp || !cmap || !glyf) return std::nullopt;
  const std::size_t glyphs = u16(file, maxp->at + 4);
  const std::size_t metrics = u16(file, hhea->at + 34);
  const std::size_t offset_format = u16(file, head->at + 50);
  if (glyphs == 0 || metrics == 0 || metrics > glyphs || offset_format > 1) return std::nullopt;
  const auto loca = directory.find("loca", (glyphs + 1) * (offset_format == 0 ? 2 : 4));
  if (!loca || !directory.find("hmtx", 4 * metrics + 2 * (glyphs - metrics))) return std::nullopt;

  const auto kern = directory.find("kern", 0);
  const FontTables tables = {glyphs, offset_format == 1, *loca, *glyf,
                             kern && is_whole_kerning(file, *kern)};
  if (!is_whole_character_map(file, *cmap) || !outlines_lie_in_order(file, tables))
    return std::nullopt;
  return tables;
}

bool is_whole_glyph(const FontBytes& file, const FontTables& tables, std::size_t glyph) {
  // A composite's components line up behind it, so that the pieces stand by their depth.
  std::vector<std::size_t> pieces(1, glyph);
  std::size_t depth_end = 1, points = 0;
  int depth = 0;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    if (i == depth_end) {
      depth_end = pieces.size();
      if (++depth > kDeepestComponent) return false;
    }
    if (pieces[i] >= tables.glyphs) return false;
    const FontSpan outline = outline_of(file, tables, pieces[i]);
    if (outline.size == 0) continue;
    if (outline.size < 10) return false;
    const auto contours = static_cast<std::int16_t>(u16(file, outline.at));
    if (contours > 0 &&
        !are_whole_contours(file, outline, static_cast<std::size_t>(contours), points))
      return false;
    if (contours < 0 && !read_components(file, outline, pieces)) return false;
    if (points > kMostPoints) return false;
  }
  return true;
}

}  // namespace morva
