// Any bytes as the file of a film, a paper and a filter: a picture or a clear failure.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "morva.h"
#include "scarce_memory.h"

namespace fs = std::filesystem;

namespace {

fs::path& root() {
  static fs::path path;
  return path;
}

void write_profile(const char* section, const char* name, const uint8_t* data, size_t size) {
  std::ofstream file(root() / section / (std::string(name) + ".json"), std::ios::binary);
  file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
}

void render(const char* film, const char* paper, const char* options) {
  static const float scene[4 * 3 * 3] = {0.18f, 0.18f, 0.18f, 8.0f, 4.0f, 2.0f, 0.02f, 0.5f, 0.01f};
  MorvaImage out;
  MorvaError err;
  const int32_t code = morva_render(scene, 4, 3, options, film, "plain", paper, &out, &err);
  if (code != err.code || (code == MORVA_OK) != (out.data != nullptr)) std::abort();
  morva_free(&out);
}

void remove_root() {
  std::error_code error;
  fs::remove_all(root(), error);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  std::string pattern = (fs::temp_directory_path() / "morva-fuzz-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) std::abort();
  root() = pattern;
  fs::copy(MORVA_PROFILES_PATH, root(), fs::copy_options::recursive);
  std::atexit(remove_root);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  write_profile("films", "fuzzed", data, size);
  write_profile("papers", "fuzzed", data, size);
  write_profile("filters", "fuzzed", data, size);
  MorvaError err;
  if (morva_profiles_load(root().c_str(), &err) != MORVA_OK) std::abort();
  // The growth engine measures every film that it has not met: a second of most of them.
  const bool measured = size % 16 == 0;
  render("fuzzed", "color_gloss", measured ? nullptr : R"({"grain_engine": "classic"})");
  render("silver_400", "fuzzed", R"({"grain_engine": "classic", "border": 0.5})");
  render("collodion_opaque", "fuzzed", R"({"grain_mult": 0, "mat": "classic", "print_cm": 2})");
  render("everyday_400", "fuzzed",
         R"({"grain_engine": "classic", "filter": "fuzzed", "filter_grad": "fuzzed",
             "filter_rays": "fuzzed"})");
  return 0;
}
