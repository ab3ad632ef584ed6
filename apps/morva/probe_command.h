// morva probe: which GPUs the machine has and whether they render.
#pragma once

namespace morva::host {

struct ProbeRequest {
  bool as_json = false;
};

void run(const ProbeRequest& request);

}  // namespace morva::host
