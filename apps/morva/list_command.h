// morva list: the profiles of one kind, a line each.
#pragma once

#include <string>

namespace morva::host {

struct ListRequest {
  std::string section;  // films, lenses, papers, filters or presets
  bool as_json = false;
};

void run(const ListRequest& request);

}  // namespace morva::host
