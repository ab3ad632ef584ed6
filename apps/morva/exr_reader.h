// EXR files, read as scene-linear light: nothing is scaled, clipped or curved, and NaN and infinity
// pass through.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "picture.h"

namespace morva::host {

// By the file's first bytes, whatever its name.
bool is_exr(const std::filesystem::path& file);

// The data window of the first part. Takes the channels R, G and B, half or float, or Y alone for a
// grey picture; alpha is left out. Colours of other primaries are brought to Rec. 709.
Picture read_exr(const std::filesystem::path& file);

struct ExrInfo {
  int32_t width;
  int32_t height;
  std::vector<std::string> channels;
};

ExrInfo read_exr_info(const std::filesystem::path& file);

}  // namespace morva::host
