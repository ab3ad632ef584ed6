#include "cancel_signal.h"

#include <atomic>
#include <csignal>

#include "host_error.h"

namespace morva::host {
namespace {

int32_t flag = 0;
static_assert(std::atomic_ref<int32_t>::is_always_lock_free, "the handler may not take a lock");

extern "C" void raise_flag(int) {
  std::atomic_ref<int32_t>(flag).store(1, std::memory_order_relaxed);
}

void take_over(int signal_number) {
  if (std::signal(signal_number, raise_flag) == SIG_IGN) std::signal(signal_number, SIG_IGN);
}

}  // namespace

void install_cancel_signal() {
  take_over(SIGINT);
  take_over(SIGTERM);
#if defined(SIGHUP)
  take_over(SIGHUP);
#endif
}

const int32_t* cancel_flag() {
  return &flag;
}

void check_cancelled() {
  if (std::atomic_ref<int32_t>(flag).load(std::memory_order_relaxed) != 0) {
    throw HostError(MORVA_CANCELLED, "cancelled");
  }
}

}  // namespace morva::host
