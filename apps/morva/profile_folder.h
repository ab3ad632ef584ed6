// The profile folder, read for its listing. The library loads profiles by name but lists none, so
// the host looks where the library looks.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace morva::host {

// Where the profiles of a section stand, the first winning: presets in the user's own folder, and
// all beside the library. Not all need exist.
std::vector<std::filesystem::path> section_folders(const std::string& section);

struct ProfileEntry {
  std::string name;  // as --film, --lens, --paper and --preset take it
  std::string title;
  std::string description;  // one line
};

// The profiles of a section ("films", "lenses", "papers", "filters", "presets") that are not
// hidden, by name.
std::vector<ProfileEntry> list_profiles(const std::string& section);

std::vector<std::string> profile_names(const std::string& section);

// Whether --preset takes such a text for a file's name.
bool names_preset_file(const std::string& text);

}  // namespace morva::host
