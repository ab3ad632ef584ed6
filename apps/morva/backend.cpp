#include "backend.h"

#include <morva.h>

#include "host_error.h"

namespace morva::host {
namespace {

const char* loss_name(std::uint32_t reason) {
  switch (reason) {
    case MORVA_LOSS_HUNG:
      return "it hung";
    case MORVA_LOSS_RESET:
      return "it was reset";
    case MORVA_LOSS_DRIVER_ERROR:
      return "an error of its driver";
    case MORVA_LOSS_OUT_OF_MEMORY:
      return "it ran out of memory";
    default:
      return "it was removed";
  }
}

}  // namespace

void select_backend(const BackendChoice& choice) {
  if (choice.profile && choice.name == "cpu")
    throw HostError(MORVA_BAD_ARGUMENT, "--profile needs --backend gpu or gpu-warp");
  MorvaError error{};
  check_engine(morva_set_backend(choice.name.c_str(), &error), error);
  morva_set_profiling(choice.profile ? 1 : 0);
}

std::string backend_name() {
  char name[512];
  morva_backend_name(name, sizeof name);
  return name;
}

std::string profile_report() {
  std::string text(static_cast<std::size_t>(morva_profile_report(nullptr, 0)) + 1, '\0');
  morva_profile_report(text.data(), static_cast<std::int32_t>(text.size()));
  text.pop_back();
  return text;
}

std::uint32_t lost_and_recovered(std::string& reason) {
  MorvaGpuState state;
  morva_gpu_state(&state);
  if (state.recoveries > 0) reason = loss_name(state.reason);
  return state.recoveries;
}

}  // namespace morva::host
