// Writing a picture under any of the host's formats. The format follows from the file's extension,
// or from its name.
#pragma once

#include <filesystem>
#include <string>

#include "camera_data.h"
#include "picture.h"

namespace morva::host {

enum class FileFormat { png, tiff, jpeg, exr };
enum class SampleType { uint8, uint16, float32 };

struct Encoding {
  FileFormat format;
  SampleType samples;
  int jpeg_quality;  // 1..100
};

// What a file tells beside its pixels.
struct PictureNotes {
  std::string setting;  // how it was rendered, JSON in ASCII; or empty
  CameraData camera;
};

// `format` is "png", "tif", "jpg" or "exr", or empty for that of the file's extension. `bits` is
// "8", "16", "32f" or empty for the format's own: 16 for PNG and TIFF, 8 for JPEG, 32f for EXR.
// Throws for an extension that is not known and for samples that the format cannot hold.
Encoding encoding_for(const std::filesystem::path& file, const std::string& format,
                      const std::string& bits, int jpeg_quality);

// Throws for notes that a file of that format has no room for.
void require_room(const PictureNotes& notes, FileFormat format);

// Writes the picture over `file` whatever the extension of that name. Integers are sRGB-encoded,
// floats linear; an ICC profile is embedded where the format has a place for it. Checks for a
// cancel between rows.
void write_picture(const Picture& picture, const Encoding& encoding, const PictureNotes& notes,
                   const std::filesystem::path& file);

}  // namespace morva::host
