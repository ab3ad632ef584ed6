// The engine's failures come as it words them. For whoever cannot read them, or wonders what to do
// about them, a line in English; the host's own say themselves what to do.
#pragma once

#include <string>

#include "host_error.h"

namespace morva::host {

// Empty where the failure speaks for itself.
std::string hint_for(const HostError& failure);

}  // namespace morva::host
