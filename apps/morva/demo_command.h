// morva demo: the demo scene as a file.
#pragma once

#include "output_choice.h"

namespace morva::host {

struct DemoRequest {
  OutputChoice output;
};

void run(const DemoRequest& request);

}  // namespace morva::host
