#include "progress.h"

#include <cstdio>

#include "operating_system.h"
#include "terminal_text.h"

namespace morva::host {
namespace {

constexpr std::chrono::milliseconds kRefresh{250};
constexpr const char* kWipeLine = "\r\033[K";

}  // namespace

Progress::Progress(bool shown) : start_(std::chrono::steady_clock::now()) {
  if (shown && stderr_is_terminal()) {
    refresher_ = std::thread(&Progress::refresh_until_done, this);
  }
}

Progress::~Progress() {
  if (!refresher_.joinable()) return;
  {
    const std::lock_guard guard(lock_);
    done_ = true;
  }
  changed_.notify_one();
  refresher_.join();
  std::fputs(kWipeLine, stderr);
  std::fflush(stderr);
}

void Progress::step(const std::string& doing) {
  if (!refresher_.joinable()) return;
  {
    const std::lock_guard guard(lock_);
    if (doing_ == doing) return;
    doing_ = doing;
  }
  changed_.notify_one();
}

void Progress::aside(const std::function<void()>& print) {
  const std::lock_guard guard(lock_);
  if (refresher_.joinable()) {
    std::fputs(kWipeLine, stderr);
    std::fflush(stderr);
  }
  print();
}

double Progress::elapsed_s() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void Progress::refresh_until_done() {
  std::unique_lock guard(lock_);
  while (!done_) {
    if (!doing_.empty()) print_line();
    changed_.wait_for(guard, kRefresh);
  }
}

void Progress::print_line() const {
  std::fprintf(stderr, "%s%6.1f s  %s", kWipeLine, elapsed_s(), on_one_line(doing_).c_str());
  std::fflush(stderr);
}

}  // namespace morva::host
