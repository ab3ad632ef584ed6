// morva plan: the sizes that a render would have, told from the picture's header and the engine's
// answers alone.
#pragma once

#include "render_setting.h"

namespace morva::host {

struct PlanRequest {
  SettingChoice setting;
  bool as_json = false;
};

void run(const PlanRequest& request);

}  // namespace morva::host
