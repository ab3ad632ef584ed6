#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "operating_system.h"

namespace morva::host {

bool stderr_is_terminal() {
  return isatty(STDERR_FILENO) != 0;
}

std::filesystem::path library_folder() {
  // The address of the function itself could be the executable's own jump entry.
  const void* in_library = dlsym(RTLD_DEFAULT, "morva_version");
  Dl_info info{};
  if (in_library == nullptr || dladdr(in_library, &info) == 0 || info.dli_fname == nullptr) {
    return {};
  }
  std::error_code error;  // behind any link stands the file, and beside the file its profiles
  const std::filesystem::path file = std::filesystem::canonical(info.dli_fname, error);
  return error ? std::filesystem::path() : file.parent_path();
}

bool folder_is_writable(const std::filesystem::path& folder) {
  return access(folder.c_str(), W_OK | X_OK) == 0;
}

int process_id() {
  return static_cast<int>(getpid());
}

bool create_new_file(const std::filesystem::path& file) {
  const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (descriptor < 0) return false;
  close(descriptor);
  return true;
}

std::error_code move_into_place(const std::filesystem::path& from, const std::filesystem::path& to,
                                bool replace) {
  std::error_code error;
#if defined(RENAME_NOREPLACE)
  if (!replace) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return {};
    // Some file systems do not carry the flag; there a look beforehand has to do.
    if (errno != EINVAL && errno != ENOSYS) return {errno, std::generic_category()};
  }
#endif
  if (!replace && std::filesystem::exists(to, error)) {
    return std::make_error_code(std::errc::file_exists);
  }
  std::filesystem::rename(from, to, error);
  return error;
}

}  // namespace morva::host
