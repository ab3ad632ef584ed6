#include <dlfcn.h>
#include <fcntl.h>
#include <morva.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "operating_system.h"

extern char** environ;

namespace morva::host {
namespace {

bool ready(int file, short events, int milliseconds) {
  pollfd one{file, events, 0};
  return poll(&one, 1, milliseconds) != 0;
}

// What a call answers that a signal does not cut short.
template <class Call>
std::optional<std::size_t> bytes_done(Call call) {
  for (;;) {
    const ssize_t count = call();
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) return std::nullopt;
  }
}

}  // namespace

void take_closed_streams() {
  for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(file, F_GETFD) >= 0) continue;
    // The lowest free number is this one. The wrong way round: its use remains an error.
    if (open("/dev/null", file == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0) return;
  }
}

bool stderr_is_terminal() {
  return isatty(STDERR_FILENO) != 0;
}

bool stdout_is_terminal() {
  return isatty(STDOUT_FILENO) != 0;
}

std::filesystem::path engine_folder() {
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

std::filesystem::path user_folder() {
  // As the XDG base directories have it.
  const auto folder_in = [](const char* variable) {
    const char* folder = std::getenv(variable);
    return std::filesystem::path(folder != nullptr ? folder : "");
  };
  const std::filesystem::path config = folder_in("XDG_CONFIG_HOME");
  if (config.is_absolute()) return config / "morva";
  const std::filesystem::path home = folder_in("HOME");
  return home.empty() ? home : home / ".config" / "morva";
}

bool folder_is_writable(const std::filesystem::path& folder) {
  return access(folder.c_str(), W_OK | X_OK) == 0;
}

bool create_new_file(const std::filesystem::path& file, Readers readers) {
  const mode_t mode = readers == Readers::only_the_user ? 0600 : 0666;
  const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
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

void let_writes_fail() {
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);
}

std::optional<int> open_to_read(const std::filesystem::path& path) {
  const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (file < 0) return std::nullopt;
  fcntl(file, F_SETFL, 0);  // only the opening may not wait
  return file;
}

void close_file(int file) {
  close(file);
}

bool ready_to_read(int file, int milliseconds) {
  return ready(file, POLLIN, milliseconds);
}

bool ready_to_write(int file, int milliseconds) {
  return ready(file, POLLOUT, milliseconds);
}

std::optional<std::size_t> read_some(int file, std::span<char> bytes) {
  return bytes_done([&] { return read(file, bytes.data(), bytes.size()); });
}

std::optional<std::size_t> write_some(int file, std::span<const char> bytes) {
  return bytes_done([&] { return write(file, bytes.data(), bytes.size()); });
}

std::filesystem::path own_program() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::filesystem::path() : program;
}

std::optional<int> start_process(const std::filesystem::path& program,
                                 const std::vector<std::string>& arguments, std::FILE* complaints,
                                 std::error_code& error) {
  std::vector<std::string> words = {program.string()};
  for (const std::string& argument : arguments) words.push_back(argument);
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  // Whoever started this program may have had its children forgotten, with their exit codes.
  signal(SIGCHLD, SIG_DFL);
  // Whoever reads this program's output may go away. That is an error, which ends the children too.
  let_writes_fail();
  // The next process has complaints of its own.
  const int told = fileno(complaints);
  fcntl(told, F_SETFD, FD_CLOEXEC);
  posix_spawn_file_actions_t actions;
  int failed = posix_spawn_file_actions_init(&actions);
  pid_t process = 0;
  if (failed == 0) {
    failed = posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (failed == 0)
      failed = posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    if (failed == 0) failed = posix_spawn_file_actions_adddup2(&actions, told, STDERR_FILENO);
    if (failed == 0)
      failed = posix_spawn(&process, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
  }
  error.assign(failed, std::generic_category());
  return failed == 0 ? std::optional(static_cast<int>(process)) : std::nullopt;
}

std::optional<int> exit_code_of(int process) noexcept {
  int status = 0;
  const pid_t ended = waitpid(process, &status, WNOHANG);
  if (ended < 0 && errno != EINTR) return MORVA_FAILED;  // its end was lost
  if (ended != process) return std::nullopt;
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

void ask_to_stop(int process) noexcept {
  kill(process, SIGTERM);
}

}  // namespace morva::host
