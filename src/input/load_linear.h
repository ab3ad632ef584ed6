// A picture file becomes linear light.
#pragma once

#include <string>

#include "image/image.h"

namespace morva {

// Which decoder reads a file. It is chosen by the name: a camera raw file looks like a TIFF from
// inside. Pictures are told apart by their content.
enum class FileKind { kPicture, kCameraRaw, kHeif };

// By the extension of a UTF-8 path, upper and lower case alike; unknown extensions are pictures.
FileKind kind_of_file(const std::string& path);

struct LoadedPicture {
  Image image;  // three channels, Rec. 709 primaries, linear light in 0..1, upright
  bool is_raw = false;
};

// Reads the file at the UTF-8 path `path`. `wb_mode` and `half_size` are for camera raw files: the
// white balance ("film", "custom" or the camera's own), and whether to decode at half the size.
// Throws std::runtime_error, in the form of the decoder that the name chose, and std::bad_alloc.
LoadedPicture load_linear(const std::string& path, const std::string& wb_mode, bool half_size);

}  // namespace morva
