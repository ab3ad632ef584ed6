#include "temporary_file.h"

#include <random>
#include <string>
#include <utility>

#include "host_error.h"

namespace morva::host {

namespace fs = std::filesystem;

namespace {

// Two machines that write into one folder may have processes of one number; names that are drawn
// do not meet.
std::string random_digits() {
  constexpr const char* kDigits = "0123456789abcdef";
  std::random_device draw;
  std::string digits;
  for (int i = 0; i < 16; ++i) digits += kDigits[draw() % 16];
  return digits;
}

}  // namespace

TemporaryFile::TemporaryFile(const fs::path& folder, Readers readers) {
  let_writes_fail();
  for (int attempt = 0; attempt < 8; ++attempt) {
    fs::path candidate = folder / (".morva-" + random_digits() + ".part");
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
