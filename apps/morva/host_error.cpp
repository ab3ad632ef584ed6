#include "host_error.h"

namespace morva::host {

HostError HostError::under(const std::string& name) const {
  HostError told(code, name + ": " + what(), hint);
  told.engine_words = engine_words;
  return told;
}

HostError engine_failure(int32_t code, const std::string& words) {
  HostError failure(code, words.empty() ? "the engine failed without a message" : words);
  failure.engine_words = failure.what();
  return failure;
}

void check_engine(int32_t result, const MorvaError& error) {
  if (result != MORVA_OK) throw engine_failure(result, error.message);
}

}  // namespace morva::host
