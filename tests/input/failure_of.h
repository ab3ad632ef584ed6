// What a call says when it fails, and the memory that it took.
#pragma once

#include <sys/resource.h>

#include <exception>
#include <functional>
#include <string>

namespace morva::testing_files {

// The text of the exception that `call` throws; empty when it throws none.
inline std::string failure_of(const std::function<void()>& call) {
  try {
    call();
  } catch (const std::exception& problem) {
    return problem.what();
  }
  return {};
}

// The most that this process has held so far.
inline long peak_kilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

}  // namespace morva::testing_files
