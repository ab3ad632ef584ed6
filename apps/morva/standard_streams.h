// "-" in place of a file's name. Picture files are read and written at any place in them, so that
// what comes through a pipe is held in a temporary file.
#pragma once

#include <filesystem>
#include <string>

namespace morva::host {

inline constexpr const char* kStandardStream = "-";

// The file that holds `input`: for "-", standard input, read whole at the first call and held until
// the program ends.
std::string file_behind(const std::string& input);

// Sends the file's bytes to standard output.
void copy_to_standard_output(const std::filesystem::path& file);

}  // namespace morva::host
