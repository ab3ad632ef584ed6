#include "profile_folder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>

#include "host_error.h"
#include "operating_system.h"

namespace morva::host {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

fs::path profile_folder() {
  const char* named = std::getenv("MORVA_PROFILES_DIR");
  if (named != nullptr && *named != '\0') return named;
  const fs::path library = library_folder();
  std::error_code error;
  if (library.empty() || !fs::is_directory(library / "profiles", error)) {
    throw HostError(MORVA_PROFILE_FAILED,
                    "no profile folder: set MORVA_PROFILES_DIR, or put \"profiles\" beside the "
                    "library");
  }
  return library / "profiles";
}

bool is_hidden(const Json& profile) {
  const auto hidden = profile.find("hidden");
  if (hidden == profile.end() || hidden->is_null()) return false;
  if (hidden->is_boolean()) return hidden->get<bool>();
  if (hidden->is_number()) return hidden->get<double>() != 0.0;
  return !hidden->empty() && *hidden != "";
}

// Nothing for a hidden profile. A broken one is listed: its name is taken, and it wants mending.
std::optional<ProfileEntry> entry_of(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  const Json profile = Json::parse(in, nullptr, false);
  if (!profile.is_object()) return ProfileEntry{file.stem().string(), "(cannot be read)"};
  if (is_hidden(profile)) return std::nullopt;
  const auto description = profile.find("description");
  const bool described = description != profile.end() && description->is_string();
  return ProfileEntry{file.stem().string(), described ? description->get<std::string>() : ""};
}

}  // namespace

std::vector<ProfileEntry> list_profiles(const std::string& section) {
  const fs::path folder = profile_folder() / section;
  std::error_code error;
  std::vector<ProfileEntry> entries;
  for (const fs::directory_entry& item : fs::directory_iterator(folder, error)) {
    if (item.path().extension() != ".json" || !item.is_regular_file(error)) continue;
    if (std::optional<ProfileEntry> entry = entry_of(item.path())) {
      entries.push_back(std::move(*entry));
    }
  }
  if (error) {
    throw HostError(MORVA_PROFILE_FAILED, "no " + section + " in " + folder.parent_path().string());
  }
  std::sort(entries.begin(), entries.end(),
            [](const ProfileEntry& a, const ProfileEntry& b) { return a.name < b.name; });
  return entries;
}

}  // namespace morva::host
