// What a call says when it fails.
#pragma once

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

}  // namespace morva::testing_files
