// The head of an EXR file, walked before the library reads it: every attribute tells its own
// length, and the library makes room for whatever length is told.
#pragma once

#include <filesystem>

namespace morva::host {

// Throws for a head that is cut short, or that claims more than the file holds or any head needs.
void check_exr_header(const std::filesystem::path& file);

}  // namespace morva::host
