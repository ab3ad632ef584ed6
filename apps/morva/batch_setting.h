// The one setting of a batch: gathered and tried once, and written down for its renders, so that
// a pipe serves as a preset and a file that is changed meanwhile changes nothing.
#pragma once

#include "render_setting.h"
#include "temporary_file.h"

namespace morva::host {

// What presets and flags come to. Throws for all that is wrong whatever the picture.
CheckedSetting tried_setting(const SettingChoice& choice);

// As a preset file of its own.
TemporaryFile setting_file(const CheckedSetting& setting);

}  // namespace morva::host
