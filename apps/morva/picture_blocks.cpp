#include "picture_blocks.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <optional>
#include <string_view>

namespace morva::host {
namespace {

constexpr uint64_t kMostBytes = uint64_t{1} << 24;  // of all blocks together
constexpr std::size_t kMostBlocks = 64;

// A file of known length, walked forward.
struct Walk {
  std::ifstream in;
  uint64_t at = 0;
  uint64_t end = 0;
  uint64_t to_hold = kMostBytes;
};

bool read_bytes(Walk& walk, uint8_t* bytes, uint64_t count) {
  if (count > walk.end - walk.at) return false;
  walk.in.read(reinterpret_cast<char*>(bytes), static_cast<std::streamsize>(count));
  walk.at += count;
  return walk.in.good();
}

bool skip(Walk& walk, uint64_t count) {
  if (count > walk.end - walk.at) return false;
  walk.at += count;
  walk.in.seekg(static_cast<std::streamoff>(walk.at));
  return walk.in.good();
}

std::optional<uint64_t> read_number(Walk& walk, std::size_t count, bool big_endian) {
  std::array<uint8_t, 4> bytes{};
  if (!read_bytes(walk, bytes.data(), count)) return std::nullopt;
  uint64_t number = 0;
  for (std::size_t i = 0; i < count; ++i)
    number = (number << 8) | bytes[big_endian ? i : count - 1 - i];
  return number;
}

std::string read_name(Walk& walk) {
  std::array<uint8_t, 4> name{};
  return read_bytes(walk, name.data(), name.size()) ? std::string(name.begin(), name.end()) : "";
}

// Takes the next `size` bytes as a block, or passes over them. False at the end of the file.
bool take(Walk& walk, const std::string& kind, bool wanted, uint64_t size,
          std::vector<PictureBlock>& blocks) {
  if (!wanted || size > walk.to_hold || blocks.size() >= kMostBlocks) return skip(walk, size);
  if (size > walk.end - walk.at) return false;
  PictureBlock block{kind, std::vector<uint8_t>(size)};
  if (!read_bytes(walk, block.bytes.data(), size)) return false;
  walk.to_hold -= size;
  blocks.push_back(std::move(block));
  return true;
}

// ITU-T T.81, annex B: FF and a code, then a length that counts itself. The scan ends the walk.
void walk_jpeg(Walk& walk, std::vector<PictureBlock>& blocks) {
  constexpr uint64_t kApp1 = 0xE1, kComment = 0xFE, kScan = 0xDA, kEnd = 0xD9, kFill = 0xFF;
  while (const std::optional<uint64_t> mark = read_number(walk, 1, true)) {
    if (*mark != kFill) return;
    std::optional<uint64_t> code = kFill;
    while (code && *code == kFill) code = read_number(walk, 1, true);
    if (!code || *code == kScan || *code == kEnd) return;
    const bool bare = *code == 0x01 || (*code >= 0xD0 && *code <= 0xD8);
    if (bare) continue;
    const std::optional<uint64_t> length = read_number(walk, 2, true);
    if (!length || *length < 2) return;
    const std::string kind = *code == kApp1 ? "APP1" : "COM";
    if (!take(walk, kind, *code == kApp1 || *code == kComment, *length - 2, blocks)) return;
  }
}

// PNG, section 5.3: length, name, bytes, checksum.
void walk_png(Walk& walk, std::vector<PictureBlock>& blocks) {
  while (const std::optional<uint64_t> length = read_number(walk, 4, true)) {
    const std::string name = read_name(walk);
    if (name.empty() || name == "IEND") return;
    if (!take(walk, name, name == "iTXt" || name == "eXIf", *length, blocks)) return;
    if (!skip(walk, 4)) return;
  }
}

// RIFF: name, length, bytes, one more where their number is odd.
void walk_webp(Walk& walk, std::vector<PictureBlock>& blocks) {
  for (std::string name = read_name(walk); !name.empty(); name = read_name(walk)) {
    const std::optional<uint64_t> length = read_number(walk, 4, false);
    if (!length || !take(walk, name, name == "EXIF", *length, blocks)) return;
    if (*length % 2 != 0 && !skip(walk, 1)) return;
  }
}

}  // namespace

std::vector<PictureBlock> picture_blocks(const std::filesystem::path& file) {
  std::vector<PictureBlock> blocks;
  Walk walk{std::ifstream(file, std::ios::binary)};
  std::error_code error;
  walk.end = std::filesystem::file_size(file, error);
  if (error || !walk.in) return blocks;

  std::array<char, 12> head{};
  walk.in.read(head.data(), head.size());
  const std::string_view start(head.data(), static_cast<std::size_t>(walk.in.gcount()));
  walk.in.clear();
  if (start.starts_with("\xFF\xD8")) {
    if (skip(walk, 2)) walk_jpeg(walk, blocks);
  } else if (start.starts_with("\x89PNG\r\n\x1a\n")) {
    if (skip(walk, 8)) walk_png(walk, blocks);
  } else if (start.starts_with("RIFF") && start.ends_with("WEBP")) {
    if (skip(walk, 12)) walk_webp(walk, blocks);
  }
  return blocks;
}

}  // namespace morva::host
