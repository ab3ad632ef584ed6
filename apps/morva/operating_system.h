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

// Whether standard input has bytes or has ended; waits so long for it.
bool standard_input_ready(int milliseconds);

// The bytes read, 0 at the end of the input; nothing when it cannot be read.
std::optional<std::size_t> read_standard_input(std::span<char> bytes);

// The program's own file; empty when it cannot be told.
std::filesystem::path own_program();

// A program in a process of its own, which reads nothing, whose standard output is dropped and
// whose standard error goes to `complaints`. Its number, or nothing when it cannot be started.
std::optional<int> start_process(const std::filesystem::path& program,
                                 const std::vector<std::string>& arguments, std::FILE* complaints);

// Its exit code, 128 + n after signal n; nothing while it runs.
std::optional<int> exit_code_of(int process);

// Asks it to stop, as the end of a session would; it tidies up behind itself.
void ask_to_stop(int process);

}  // namespace morva::host
