// Any bytes as the options of a small render: a picture or a clear failure.

#include <cmath>
#include <cstdlib>
#include <iterator>
#include <string>

#include "morva.h"
#include "scarce_memory.h"

namespace {

struct Pair {
  const char* film;
  const char* paper;
};

// The length of the input chooses one, so that every process meets every option.
constexpr Pair kPairs[] = {{"everyday_400", "color_gloss"},  {"silver_125", "gum"},
                           {"silver_400", "bw_warm"},        {"slide_50", "reversal_gloss"},
                           {"slide_50", "scan_flatbed"},     {"instant_square", "color_scan"},
                           {"peel_apart_100", "color_scan"}, {"collodion_glass", "ambrotype"},
                           {"tricolor_plates", "scan_film"}, {"instant_mono", "color_scan"},
                           {"dry_plate", "photogravure"}};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  MorvaError err;
  if (morva_profiles_load(MORVA_PROFILES_PATH, &err) != MORVA_OK) std::abort();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const float scene[4 * 3 * 3] = {0.18f, 0.18f, 0.18f, 8.0f, 4.0f, 2.0f, 0.02f, 0.5f, 0.01f};
  const std::string options(reinterpret_cast<const char*>(data), size);
  MorvaImage out;
  MorvaError err;
  const Pair& pair = kPairs[size % std::size(kPairs)];
  const int32_t code =
      morva_render(scene, 4, 3, options.c_str(), pair.film, "plain", pair.paper, &out, &err);
  if (code != err.code || (code == MORVA_OK) != (out.data != nullptr)) std::abort();
  morva_free(&out);
  return 0;
}
