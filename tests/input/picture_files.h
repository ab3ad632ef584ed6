// The pictures that make_pictures.py writes, once for the test program, and what becomes of them.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "input/failure_of.h"

namespace morva::testing_files {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

// A folder of the test's own that goes with it.
struct TemporaryFolder {
  fs::path path;

  TemporaryFolder() {
    std::string pattern = (fs::temp_directory_path() / "morva-input-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    path = pattern;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() { fs::remove_all(path); }
};

inline const fs::path& pictures() {
  static const TemporaryFolder folder;
  static const fs::path script = fs::path(__FILE__).parent_path() / "make_pictures.py";
  static const int status =
      std::system(("/usr/bin/python3 " + script.string() + " " + folder.path.string()).c_str());
  if (status != 0) throw std::runtime_error("make_pictures.py failed");
  return folder.path;
}

inline std::string picture(const std::string& name) {
  return (pictures() / name).string();
}

inline Bytes bytes_of(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), {});
}

inline std::string written(const std::string& name, const Bytes& bytes) {
  std::ofstream(pictures() / name, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  return picture(name);
}

// What a picture decodes to: RGBA codes, and how far a codec may be from them.
struct Upright {
  int w = 0, h = 0, tolerance = 0;
  Bytes rgba;
};

inline Upright upright_of(const std::string& name) {
  const Bytes file = bytes_of(pictures() / (name + ".upright"));
  std::uint16_t head[3];
  if (file.size() < sizeof head) throw std::runtime_error("no upright picture: " + name);
  std::memcpy(head, file.data(), sizeof head);
  return {head[0], head[1], head[2], Bytes(file.begin() + sizeof head, file.end())};
}

}  // namespace morva::testing_files
