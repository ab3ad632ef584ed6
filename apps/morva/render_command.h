// morva render: a picture through lens, film and paper.
#pragma once

#include "backend.h"
#include "output_choice.h"
#include "render_setting.h"

namespace morva::host {

struct RenderRequest {
  SettingChoice setting;
  OutputChoice output;
  BackendChoice backend;
  std::string save_options;  // the file that the setting is written to; or empty
};

void run(const RenderRequest& request);

}  // namespace morva::host
