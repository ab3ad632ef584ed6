// Which device renders: the CPU unless the command line says otherwise.
#pragma once

#include <cstdint>
#include <string>

namespace morva::host {

struct BackendChoice {
  std::string name = "cpu";  // cpu, gpu or gpu-warp
  bool profile = false;      // print where the time went
};

// Throws HostError with the engine's text where there is no such device.
void select_backend(const BackendChoice& choice);

// What renders, as the engine describes it.
std::string backend_name();

// Where the time of the last render went.
std::string profile_report();

// How often the GPU was lost and its render begun again since this was last asked; `reason` is set
// where that is not 0.
std::uint32_t lost_and_recovered(std::string& reason);

}  // namespace morva::host
