// The host's one failure: a text for the user and the exit code that goes with it. Exit codes are
// the library's result codes, so a script reads one table for both.
#pragma once

#include <morva.h>

#include <stdexcept>
#include <string>

namespace morva::host {

struct HostError : std::runtime_error {
  HostError(int exit_code, const std::string& text) : std::runtime_error(text), code(exit_code) {}
  int code;
};

// Throws when an export of the library failed; its text goes to the user as it stands.
void check_engine(int32_t result, const MorvaError& error);

}  // namespace morva::host
