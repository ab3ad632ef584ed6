#include "temporary_file.h"

#include <string>
#include <utility>

#include "host_error.h"

namespace morva::host {

namespace fs = std::filesystem;

TemporaryFile::TemporaryFile(const fs::path& folder, Readers readers) {
  const std::string stem = ".morva-" + std::to_string(process_id()) + "-";
  for (int attempt = 0; attempt < 100; ++attempt) {
    fs::path candidate = folder / (stem + std::to_string(attempt) + ".part");
    if (!create_new_file(candidate, readers)) continue;
    path_ = std::move(candidate);
    return;
  }
  throw HostError(MORVA_FAILED, "cannot make a temporary file in the folder: " + folder.string());
}

TemporaryFile::TemporaryFile(TemporaryFile&& other) noexcept {
  path_.swap(other.path_);
}

TemporaryFile& TemporaryFile::operator=(TemporaryFile&& other) noexcept {
  path_.swap(other.path_);
  return *this;
}

TemporaryFile::~TemporaryFile() {
  if (path_.empty()) return;
  std::error_code ignored;
  fs::remove(path_, ignored);
}

TemporaryFile temporary_file_of_the_user() {
  std::error_code error;
  const fs::path folder = fs::temp_directory_path(error);
  if (error) throw HostError(MORVA_FAILED, "there is no folder for temporary files");
  return TemporaryFile(folder, Readers::only_the_user);
}

}  // namespace morva::host
