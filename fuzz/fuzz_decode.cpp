// Any bytes as a compressed picture in memory: pixels or a clear failure.

#include <cstdlib>
#include <numeric>

#include "morva.h"

// Of all that was decoded, so that every pixel is read.
unsigned checksum = 0;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  uint8_t* bgra = nullptr;
  int32_t width = 0;
  int32_t height = 0;
  MorvaError err;
  const int32_t code =
      morva_decode_bgra8(data, static_cast<int64_t>(size), &bgra, &width, &height, &err);
  const bool picture = bgra != nullptr && width > 0 && height > 0;
  if (code != err.code || (code == MORVA_OK) != picture) std::abort();
  if (picture) checksum += std::accumulate(bgra, bgra + int64_t{4} * width * height, 0u);
  morva_free_bytes(bgra);
  return 0;
}
