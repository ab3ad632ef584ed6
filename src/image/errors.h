// The failures that stages and readers raise. The C boundary turns each into its result code.
#pragma once

#include <stdexcept>
#include <string>

namespace morva {

// The host's cancel flag was found set.
struct Cancelled : std::runtime_error {
  Cancelled() : std::runtime_error("cancelled") {}
};

// Options are not valid, or a JSON value that should be a number is not one.
struct OptionsError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A profile is missing or broken.
struct ProfileError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A feature that the engine names but does not carry.
struct NotPorted : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace morva
