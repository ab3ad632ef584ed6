// What a camera wrote into the source, for the sheet to carry on: who took it, when, with which
// camera, lens and exposure. Its place on Earth, its maker's notes and its small preview stay
// behind.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace morva::host {

enum class CameraValue { text, number, ratio, signed_ratio };  // EXIF: ASCII, SHORT, (S)RATIONAL

struct CameraTag {
  uint16_t tag;
  bool of_exposure;  // stands in the EXIF directory, not in the picture's own
  CameraValue kind;
};

struct CameraField {
  CameraTag tag;
  std::string text;   // printable ASCII
  int64_t above = 0;  // a number, or a ratio's
  int64_t below = 1;  // not zero
};

using CameraData = std::vector<CameraField>;  // in the order of their tags, directory by directory

// Whatever can be read; nothing of a file that does not tell, and never a failure.
CameraData read_camera_data(const std::string& file);

}  // namespace morva::host
