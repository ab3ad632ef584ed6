// The exports that meter a source picture.

#include "engine/boundary.h"
#include "input/source_stats.h"
#include "morva.h"

using namespace morva;

extern "C" {

MORVA_API void morva_source_stats(const float* rgb, int32_t width, int32_t height,
                                  MorvaSourceStats* out) {
  if (out == nullptr) return;
  *out = MorvaSourceStats{};
  if (rgb == nullptr || width < 1 || height < 1) return;
  guarded(nullptr, plain_failure, [&]() -> std::int32_t {
    const SourceStats stats = source_stats(rgb, width, height);
    *out = {stats.width, stats.height, stats.p10, stats.p50, stats.p995};
    return MORVA_OK;
  });
}

MORVA_API double morva_source_gain(const char* mode, const MorvaSourceStats* stats) {
  SourceStats measured;
  if (stats != nullptr)
    measured = {stats->width, stats->height, stats->p10, stats->p50, stats->p995};
  return source_gain(mode == nullptr ? "auto" : mode, measured);
}

}  // extern "C"
