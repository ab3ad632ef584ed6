// The part of a command line that says where a picture goes and how.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "picture_writer.h"

namespace morva::host {

struct OutputChoice {
  std::string file;
  std::string format;        // "png", "tif", "jpg", "exr", or empty for that of the file's name
  std::string bits;          // "8", "16", "32f", or empty for the format's own
  int jpeg_quality = 95;     // 1..100
  bool keep_exif = false;    // carry the camera's data over
  bool no_metadata = false;  // leave out of the file how it was rendered
  bool force = false;        // write over an existing file
  bool as_json = false;      // say on stdout, as one JSON object, what was made
  bool quiet = false;        // no progress, and no path on stdout
};

// How the file is written. Throws for what cannot be, and for a report that would stand among the
// bytes of the picture.
Encoding encoding_of(const OutputChoice& choice);

// Tells on stdout what was written: the file's path, or `made` where JSON was asked for. Nothing
// where the picture itself went there.
void announce(const OutputChoice& choice, const nlohmann::ordered_json& made);

}  // namespace morva::host
