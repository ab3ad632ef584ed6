// Bytes from and to what may keep one waiting, such as a pipe. A cancel ends the wait.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

namespace morva::host {

// How many of an open file's next bytes there were, 0 at its end; nothing when it cannot be read.
std::optional<std::size_t> read_or_cancel(int file, std::span<char> bytes);

// False when they cannot all be written.
bool write_or_cancel(int file, std::span<const char> bytes);

}  // namespace morva::host
