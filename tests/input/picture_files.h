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

// The pictures, in a folder that goes with the test program.
inline const fs::path& pictures() {
  static const struct Folder {
    fs::path path;
    Folder() {
      std::string made = (fs::temp_directory_path() / "morva-input-XXXXXX").string();
      path = mkdtemp(made.data());
      const fs::path script = fs::path(__FILE__).parent_path() / "make_pictures.py";
      if (std::system(("/usr/bin/python3 " + script.string() + " " + made).c_str()) != 0)
        throw std::runtime_error("make_pictures.py failed");
    }
    ~Folder() { fs::remove_all(path); }
  } folder;
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
  std::ofstream file(pictures() / name, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
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
