// What the operating system gives: file names, the environment and the library's own place on disk.
// Nothing else in the engine asks for these.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace morva {

std::filesystem::path path_from_utf8(const std::string& text);
std::string utf8_from_path(const std::filesystem::path& path);

// The environment variable as a path; nothing when it is unset or empty.
std::optional<std::filesystem::path> environment_path(const char* name);

// The environment variable's text, also an empty one; nothing when it is unset.
std::optional<std::string> environment_text(const char* name);

// The file that this library was loaded from; empty when the system does not tell, or when the path
// is longer than 1040 characters.
std::filesystem::path library_file();

}  // namespace morva
