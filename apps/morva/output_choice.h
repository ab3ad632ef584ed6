// The part of a command line that says where a picture goes and how.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace morva::host {

struct OutputChoice {
  std::string file;
  std::string bits;       // "8", "16", "32f", or empty for the format's own
  int jpeg_quality = 95;  // 1..100
  bool force = false;     // write over an existing file
  bool as_json = false;   // say on stdout, as one JSON object, what was made
  bool quiet = false;     // no progress, and no path on stdout
};

// Tells on stdout what was written: the file's path, or `made` where JSON was asked for.
void announce(const OutputChoice& choice, const nlohmann::ordered_json& made);

}  // namespace morva::host
