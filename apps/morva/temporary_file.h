// A file that nobody sees under its name and that is gone in the end, however that comes.
#pragma once

#include <filesystem>

#include "operating_system.h"

namespace morva::host {

class TemporaryFile {
 public:
  TemporaryFile() = default;  // none
  // A new empty file in `folder`.
  TemporaryFile(const std::filesystem::path& folder, Readers readers);
  TemporaryFile(TemporaryFile&& other) noexcept;
  TemporaryFile& operator=(TemporaryFile&& other) noexcept;
  ~TemporaryFile();

  const std::filesystem::path& path() const { return path_; }

  // It has another name now, under which it stays.
  void release() { path_.clear(); }

 private:
  std::filesystem::path path_;  // empty for none
};

// In the system's folder for such, for the user's eyes alone.
TemporaryFile temporary_file_of_the_user();

}  // namespace morva::host
