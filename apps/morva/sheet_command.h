// morva sheet: one picture on several films, papers or settings, side by side.
#pragma once

#include <string>
#include <vector>

#include "backend.h"
#include "output_choice.h"
#include "render_setting.h"

namespace morva::host {

struct SheetRequest {
  SettingChoice setting;
  OutputChoice output;
  BackendChoice backend;
  std::vector<std::string> variations;  // one: a row; two: the first across, the second down
  int cell_px = 360;                    // long side of each picture
};

void run(const SheetRequest& request);

}  // namespace morva::host
