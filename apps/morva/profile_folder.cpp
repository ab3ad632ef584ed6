#include "profile_folder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>

#include "folder_files.h"
#include "host_error.h"
#include "operating_system.h"

namespace morva::host {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

fs::path profile_folder() {
  const char* named = std::getenv("MORVA_PROFILES_DIR");
  if (named != nullptr && *named != '\0') return named;
  const fs::path engine = engine_folder();
  std::error_code error;
  if (engine.empty() || !fs::is_directory(engine / "profiles", error)) {
    throw HostError(MORVA_PROFILE_FAILED,
                    "no profile folder: set MORVA_PROFILES_DIR, or put \"profiles\" beside the "
                    "library");
  }
  return engine / "profiles";
}

bool is_hidden(const Json& profile) {
  const auto hidden = profile.find("hidden");
  if (hidden == profile.end() || hidden->is_null()) return false;
  if (hidden->is_boolean()) return hidden->get<bool>();
  if (hidden->is_number()) return hidden->get<double>() != 0.0;
  return !hidden->empty() && *hidden != "";
}

std::string text_in(const Json& profile, const char* key) {
  const auto found = profile.find(key);
  return found != profile.end() && found->is_string() ? found->get<std::string>() : "";
}

// Nothing for a hidden profile, and for a preset that no --preset could name; a preset is never
// hidden. A broken one is listed: its name is taken, and it wants mending.
std::optional<ProfileEntry> entry_of(const fs::path& file, bool is_preset) {
  std::ifstream in(file, std::ios::binary);
  const Json profile = Json::parse(in, nullptr, false);
  const std::string name = file.stem().string();
  if (is_preset && names_preset_file(name)) return std::nullopt;
  if (!profile.is_object()) return ProfileEntry{name, "", "(cannot be read)"};
  if (!is_preset && is_hidden(profile)) return std::nullopt;
  return ProfileEntry{name, text_in(profile, "title"), text_in(profile, "description")};
}

// False where there is no such folder. A name that is taken already stays as it is.
bool add_entries(const fs::path& folder, bool are_presets,
                 std::map<std::string, ProfileEntry>& entries) {
  const std::optional<std::vector<fs::path>> files = files_in(folder);
  if (!files) return false;
  for (const fs::path& file : *files) {
    if (file.extension() != ".json") continue;
    if (std::optional<ProfileEntry> entry = entry_of(file, are_presets))
      entries.try_emplace(entry->name, *entry);
  }
  return true;
}

}  // namespace

std::vector<fs::path> section_folders(const std::string& section) {
  std::vector<fs::path> folders;
  const fs::path own = user_folder();
  if (section == "presets" && !own.empty()) folders.push_back(own / section);
  folders.push_back(profile_folder() / section);
  return folders;
}

std::vector<ProfileEntry> list_profiles(const std::string& section) {
  std::map<std::string, ProfileEntry> by_name;
  bool found = false;
  for (const fs::path& folder : section_folders(section))
    found = add_entries(folder, section == "presets", by_name) || found;
  if (!found)
    throw HostError(MORVA_PROFILE_FAILED, "no " + section + " in " + profile_folder().string());
  std::vector<ProfileEntry> entries;
  for (const auto& [name, entry] : by_name) entries.push_back(entry);
  return entries;
}

std::vector<std::string> profile_names(const std::string& section) {
  std::vector<std::string> names;
  for (const ProfileEntry& entry : list_profiles(section)) names.push_back(entry.name);
  return names;
}

bool names_preset_file(const std::string& text) {
  return text.find_first_of("./\\") != std::string::npos;
}

}  // namespace morva::host
