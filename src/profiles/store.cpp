#include "profiles/store.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "image/errors.h"
#include "profiles/json_text.h"
#include "profiles/system.h"

namespace morva {

namespace fs = std::filesystem;

namespace {

struct DataDirectory {
  std::mutex lock;
  fs::path path;
};

DataDirectory& data_directory() {
  static DataDirectory directory;
  return directory;
}

bool is_regular(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

// A name is a file's stem, so one that reaches into another folder names no profile.
bool is_stem(const std::string& name) {
  return !name.empty() && path_from_utf8(name).filename() == path_from_utf8(name) &&
         name.find('\0') == std::string::npos;
}

std::string read_file(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw ProfileError("не открыть " + utf8_from_path(path));
  std::ostringstream text;
  text << file.rdbuf();
  return std::move(text).str();
}

Json parse_file(const fs::path& path) {
  const std::string text = read_file(path);
  try {
    return parse_json(text);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    throw ProfileError("испорченный JSON " + utf8_from_path(path) + ": " + error.what());
  }
}

bool is_hidden(const fs::path& path) {
  try {
    return truthy(get(parse_file(path), "hidden"));
  } catch (const ProfileError&) {
    return false;
  }
}

void list_folder(const fs::path& folder, bool include_hidden, std::vector<std::string>& names) {
  std::error_code error;
  if (!fs::is_directory(folder, error)) return;
  const auto first = static_cast<std::ptrdiff_t>(names.size());
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() != ".json" || !entry.is_regular_file()) continue;
    if (!include_hidden && is_hidden(entry.path())) continue;
    names.push_back(utf8_from_path(entry.path().stem()));
  }
  std::sort(names.begin() + first, names.end());
}

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

}  // namespace

fs::path find_profiles_dir() {
  if (const auto named = environment_path("MORVA_PROFILES_DIR")) return *named;
  const fs::path library = library_file();
  if (library.empty()) return {};
  const fs::path beside = library.parent_path() / "profiles";
  std::error_code error;
  return fs::is_directory(beside, error) ? beside : fs::path();
}

fs::path data_dir() {
  DataDirectory& directory = data_directory();
  const std::lock_guard guard(directory.lock);
  return directory.path;
}

ProfileStore::ProfileStore(fs::path root) : root_(std::move(root)) {
  DataDirectory& directory = data_directory();
  const std::lock_guard guard(directory.lock);
  const fs::path folder = root_.has_filename() ? root_ : root_.parent_path();  // "profiles/" too
  directory.path = folder.parent_path() / "data";
}

fs::path ProfileStore::user_dir() const {
  const std::lock_guard guard(lock_);
  return user_dir_;
}

fs::path ProfileStore::find(const std::string& section, const std::string& name) const {
  if (!is_stem(name)) return {};
  const fs::path file = path_from_utf8(section) / path_from_utf8(name + ".json");
  if (is_regular(root_ / file)) return root_ / file;
  const fs::path user = user_dir();
  if (!user.empty() && is_regular(user / file)) return user / file;
  return {};
}

Json ProfileStore::load(const std::string& section, const std::string& name) const {
  const std::string key = section + "/" + name;
  {
    const std::lock_guard guard(lock_);
    if (const auto it = cache_.find(key); it != cache_.end()) return it->second;
  }
  const fs::path file = find(section, name);
  if (file.empty())
    throw ProfileError("нет профиля " + section + " «" + name +
                       "». Есть: " + joined(list(section, false)));
  Json profile = parse_file(file);
  const std::lock_guard guard(lock_);
  return cache_.try_emplace(key, std::move(profile)).first->second;
}

std::vector<std::string> ProfileStore::list(const std::string& section, bool include_hidden) const {
  std::vector<std::string> names;
  list_folder(root_ / path_from_utf8(section), include_hidden, names);
  const fs::path user = user_dir();
  std::error_code error;
  if (!user.empty() && !fs::equivalent(user, root_, error))
    list_folder(user / path_from_utf8(section), include_hidden, names);
  return names;
}

void ProfileStore::set_user_dir(fs::path dir) {
  const std::lock_guard guard(lock_);
  user_dir_ = std::move(dir);
  cache_.clear();
}

}  // namespace morva
