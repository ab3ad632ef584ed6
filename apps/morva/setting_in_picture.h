// The text in a picture that tells how it was rendered: iTXt in PNG, the description in TIFF, a
// comment in JPEG, an attribute in EXR.
#pragma once

#include <filesystem>
#include <string>

namespace morva::host {

// The name of that text where it has one.
inline constexpr const char* kSettingName = "morva";

// By the file's first bytes.
bool is_picture(const std::filesystem::path& file);

// Empty for a picture that has no such text, and for any other file.
std::string setting_in_picture(const std::filesystem::path& file);

}  // namespace morva::host
