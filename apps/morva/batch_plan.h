// Which pictures a batch renders, and where each sheet goes.
#pragma once

#include <string>
#include <vector>

#include "output_choice.h"
#include "render_setting.h"

namespace morva::host {

struct BatchChoice {
  SettingChoice setting;            // of all of them, without an input
  std::vector<std::string> inputs;  // files, and folders of pictures
  std::string folder;
  std::string pattern;  // of the sheets' names; empty: the picture's own
  OutputChoice output;  // without a file; its format tells the extension
  bool skip_existing = false;
};

struct BatchItem {
  std::string input;
  std::string output;
  bool skipped = false;  // its sheet is there
};

// In the order of the inputs, those of a folder by name. Makes the folder of the sheets. Throws
// where two sheets would have one name, where one would take an input's place, and where one is
// there that may not be written over. `setting` is what the choice's own comes to.
std::vector<BatchItem> plan_batch(const BatchChoice& choice, const RenderSetting& setting);

}  // namespace morva::host
