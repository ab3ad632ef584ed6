// morva info: what a picture file tells of itself.
#pragma once

#include <string>

namespace morva::host {

struct InfoRequest {
  std::string input;
  bool as_json = false;
};

void run(const InfoRequest& request);

}  // namespace morva::host
