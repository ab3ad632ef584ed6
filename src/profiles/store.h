// The profile store: films, lenses, papers and filters are JSON files in a tree outside the
// library, <root>/<section>/<name>.json. The store finds them, parses each once and knows nothing
// of their meaning.
#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "profiles/json_access.h"

namespace morva {

// MORVA_PROFILES_DIR as it stands, else the folder "profiles" beside the library; empty when
// neither is there.
std::filesystem::path find_profiles_dir();

// The folder "data" beside the present store's root, for what is not a profile.
std::filesystem::path data_dir();

class ProfileStore {
 public:
  // Sets data_dir() too. Nothing is read yet, and `root` need not exist.
  explicit ProfileStore(std::filesystem::path root);

  // The profile as stored. The root wins over the user directory where both hold the name. Throws
  // ProfileError for a name that is not there (the text lists those that are) or a broken file.
  Json load(const std::string& section, const std::string& name) const;

  // Names in `section`, root first. Profiles whose `hidden` is truthy are left out unless asked
  // for; a file that cannot be read is listed. Throws std::filesystem::filesystem_error.
  std::vector<std::string> list(const std::string& section, bool include_hidden) const;

  // Replaces the second directory (empty: none) and forgets everything parsed so far.
  void set_user_dir(std::filesystem::path dir);

 private:
  std::filesystem::path user_dir() const;
  std::filesystem::path find(const std::string& section, const std::string& name) const;

  std::filesystem::path root_;
  mutable std::mutex lock_;  // guards what follows
  std::filesystem::path user_dir_;
  mutable std::map<std::string, Json> cache_;  // by "section/name"
};

}  // namespace morva
