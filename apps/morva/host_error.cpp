#include "host_error.h"

namespace morva::host {

void check_engine(int32_t result, const MorvaError& error) {
  if (result == MORVA_OK) return;
  const std::string text = error.message;
  throw HostError(result, text.empty() ? "the engine failed without a message" : text);
}

}  // namespace morva::host
