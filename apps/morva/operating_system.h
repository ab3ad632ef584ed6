// What only the operating system can tell or do. The rest of the host is portable C++; another
// platform needs another operating_system_*.cpp and nothing else.
#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <vector>

namespace morva::host {

// Standard input, output and error that whoever started the program had closed are taken, so that
// no other file gets their numbers. Reading from one or writing to it fails as before.
void take_closed_streams();

bool stderr_is_terminal();
bool stdout_is_terminal();

// The folder that holds the engine's library file; empty when it cannot be told.
std::filesystem::path engine_folder();

// The folder of the user's own settings for this program; empty when there is none to tell.
std::filesystem::path user_folder();

bool folder_is_writable(const std::filesystem::path& folder);

enum class Readers { as_usual, only_the_user };

// Makes a new empty file under that name. False when it exists already or cannot be made.
bool create_new_file(const std::filesystem::path& file, Readers readers);

// Renames `from` to `to` in one step. Unless `replace`, an existing `to` is left alone, even one
// that appeared a moment ago, and the answer is std::errc::file_exists.
std::error_code move_into_place(const std::filesystem::path& from, const std::filesystem::path& to,
                                bool replace);

// From now on a write that nobody reads, or that is beyond a limit of size, fails as others do and
// ends the program by no signal.
void let_writes_fail();

// Numbers of open files.
inline constexpr int kStandardInput = 0, kStandardOutput = 1;

// Opens a file for reading, without waiting for those who write into a pipe; nothing when it cannot
// be opened.
std::optional<int> open_to_read(const std::filesystem::path& path);
void close_file(int file);

// Whether the file has bytes or has ended, and whether it takes bytes or will never take more;
// waits so long for it.
bool ready_to_read(int file, int milliseconds);
bool ready_to_write(int file, int milliseconds);

// How many bytes were read, 0 at the end, and how many written, which never waits for so few as
// kAtOnceBytes once the file was ready; nothing when it fails.
inline constexpr std::size_t kAtOnceBytes = 4096;
std::optional<std::size_t> read_some(int file, std::span<char> bytes);
std::optional<std::size_t> write_some(int file, std::span<const char> bytes);

// The program's own file; empty when it cannot be told.
std::filesystem::path own_program();

// A program in a process of its own, which reads nothing, whose standard output is dropped and
// whose standard error goes to `complaints`. Its number, or nothing and why it cannot be started.
std::optional<int> start_process(const std::filesystem::path& program,
                                 const std::vector<std::string>& arguments, std::FILE* complaints,
                                 std::error_code& error);

// Its exit code, 128 + n after signal n; nothing while it runs. May be asked until it tells.
std::optional<int> exit_code_of(int process) noexcept;

// Asks it to stop, as the end of a session would; it tidies up behind itself.
void ask_to_stop(int process) noexcept;

}  // namespace morva::host
