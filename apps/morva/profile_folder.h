// The profile folder, read for its listing. The library loads profiles by name but lists none, so
// the host looks where the library looks.
#pragma once

#include <string>
#include <vector>

namespace morva::host {

struct ProfileEntry {
  std::string name;         // as --film, --lens and --paper take it
  std::string description;  // one line
};

// The profiles of a section ("films", "lenses", "papers", "filters") that are not hidden, by name.
std::vector<ProfileEntry> list_profiles(const std::string& section);

}  // namespace morva::host
