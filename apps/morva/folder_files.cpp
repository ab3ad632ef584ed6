#include "folder_files.h"

#include <system_error>

namespace morva::host {

namespace fs = std::filesystem;

std::optional<std::vector<fs::path>> files_in(const fs::path& folder) {
  std::vector<fs::path> files;
  std::error_code error;
  // A step to the next file may fail as well, of which a range-for would make an exception.
  for (fs::directory_iterator item(folder, error), end; !error && item != end;
       item.increment(error)) {
    std::error_code no_file;
    if (item->is_regular_file(no_file)) files.push_back(item->path());
  }
  return error ? std::nullopt : std::optional(std::move(files));
}

}  // namespace morva::host
