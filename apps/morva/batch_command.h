// morva batch: many pictures with one setting, each rendered by a process of its own.
#pragma once

#include <string>
#include <vector>

#include "batch_plan.h"

namespace morva::host {

struct BatchRequest {
  BatchChoice choice;
  int jobs = 0;  // processes at a time; 0: as many as the machine has processors, but at most 4
  bool keep_going = false;
  bool as_json = false;
  bool quiet = false;
  std::vector<std::string> passed_on;  // flags of each render beside its setting, as it takes them
};

// The exit code: that of the first picture, in their order, that failed.
int run(const BatchRequest& request);

}  // namespace morva::host
