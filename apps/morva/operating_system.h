// What only the operating system can tell or do. The rest of the host is portable C++; another
// platform needs another operating_system_*.cpp and nothing else.
#pragma once

#include <filesystem>

namespace morva::host {

bool stderr_is_terminal();

// The folder that holds the engine's library file; empty when it cannot be told.
std::filesystem::path library_folder();

bool folder_is_writable(const std::filesystem::path& folder);

int process_id();

// Opens a new empty file under that name. False when it exists already or cannot be made.
bool create_new_file(const std::filesystem::path& file);

// Renames `from` to `to` in one step. Unless `replace`, an existing `to` is left alone, even one
// that appeared a moment ago, and the answer is std::errc::file_exists.
std::error_code move_into_place(const std::filesystem::path& from, const std::filesystem::path& to,
                                bool replace);

}  // namespace morva::host
