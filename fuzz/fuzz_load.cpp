// Any bytes as a picture file, whose name the first of them chooses: light or a clear failure.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "morva.h"

namespace fs = std::filesystem;

namespace {

fs::path& folder() {
  static fs::path path;
  return path;
}

void remove_folder() {
  std::error_code error;
  fs::remove_all(folder(), error);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // On a file system in memory where there is one.
  const fs::path root = fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
  std::string pattern = (root / "morva-fuzz-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) std::abort();
  folder() = pattern;
  std::atexit(remove_folder);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static constexpr const char* kNames[] = {"p.dng", "p.heic", "p.jpg"};
  if (size == 0) return 0;
  const std::string path = (folder() / kNames[data[0] % 3]).string();
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(data + 1), static_cast<std::streamsize>(size - 1));
  MorvaImageInfo info;
  MorvaError err;
  if (morva_image_info(path.c_str(), &info, &err) != err.code) std::abort();
  MorvaImage image;
  const int32_t code = morva_load_linear(path.c_str(), data[0] & 4 ? "as_shot" : "film",
                                         data[0] >> 3 & 1, &image, nullptr, &err);
  if (code != err.code || (code == MORVA_OK) != (image.data != nullptr)) std::abort();
  for (int64_t i = 0; i < int64_t{3} * image.width * image.height; ++i)
    if (!(image.data[i] >= 0.0f && image.data[i] <= 1.0f)) std::abort();
  morva_free(&image);
  return 0;
}
