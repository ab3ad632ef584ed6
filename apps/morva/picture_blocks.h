// The blocks of text and of camera data that a JPEG, PNG or WebP file carries beside its pixels,
// found by walking the file's own lengths. Nothing in it is trusted.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace morva::host {

struct PictureBlock {
  std::string kind;  // "APP1", "COM"; "iTXt", "eXIf"; "EXIF"
  std::vector<uint8_t> bytes;
};

// The blocks of those kinds, in their order, as far as the file can be followed. What goes
// beyond 16 MiB in all is passed over. Nothing for any other file.
std::vector<PictureBlock> picture_blocks(const std::filesystem::path& file);

}  // namespace morva::host
