// The host's one failure: a text for the user and the exit code that goes with it. Exit codes are
// the library's result codes, so a script reads one table for both.
#pragma once

#include <morva.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace morva::host {

struct HostError : std::runtime_error {
  HostError(int exit_code, const std::string& text, std::string advice = {})
      : std::runtime_error(text), code(exit_code), hint(std::move(advice)) {}

  // The same failure, told of one thing among others.
  HostError under(const std::string& name) const;

  int code;
  std::string hint;          // what to do about it, where the host knows
  std::string engine_words;  // empty where the failure is the host's own
};

// A failure of the engine, in its words.
HostError engine_failure(int32_t code, const std::string& words);

// Throws when an export of the library failed; its text goes to the user as it stands.
void check_engine(int32_t result, const MorvaError& error);

}  // namespace morva::host
