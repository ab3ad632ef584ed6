// Any bytes as the options of a small render: a picture or a clear failure.

#include <cmath>
#include <cstdlib>
#include <string>

#include "morva.h"

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
  const int32_t code = morva_render(scene, 4, 3, options.c_str(), "everyday_400", "plain",
                                    "color_gloss", &out, &err);
  if (code != err.code || (code == MORVA_OK) != (out.data != nullptr)) std::abort();
  morva_free(&out);
  return 0;
}
