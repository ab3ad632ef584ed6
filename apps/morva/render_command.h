// morva render: a picture through lens, film and paper.
#pragma once

#include "backend.h"
#include "output_choice.h"
#include "render_setting.h"

namespace morva::host {

struct RenderRequest {
  RenderSetting setting;
  OutputChoice output;
  BackendChoice backend;
};

void run(const RenderRequest& request);

}  // namespace morva::host
