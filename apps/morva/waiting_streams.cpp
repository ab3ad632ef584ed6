#include "waiting_streams.h"

#include <algorithm>

#include "cancel_signal.h"
#include "operating_system.h"

namespace morva::host {
namespace {

constexpr int kLookEveryMs = 100;

void wait_until(bool (*ready)(int, int), int file) {
  while (!ready(file, kLookEveryMs)) check_cancelled();
  check_cancelled();
}

}  // namespace

std::optional<std::size_t> read_or_cancel(int file, std::span<char> bytes) {
  wait_until(ready_to_read, file);
  return read_some(file, bytes);
}

bool write_or_cancel(int file, std::span<const char> bytes) {
  while (!bytes.empty()) {
    wait_until(ready_to_write, file);
    const std::optional<std::size_t> count =
        write_some(file, bytes.first(std::min(bytes.size(), kAtOnceBytes)));
    if (!count) return false;
    bytes = bytes.subspan(*count);
  }
  return true;
}

}  // namespace morva::host
