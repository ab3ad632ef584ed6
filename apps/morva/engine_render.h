// The call that makes the sheet.
#pragma once

#include <nlohmann/json.hpp>

#include "picture.h"
#include "render_setting.h"

namespace morva::host {

// `options` are gathered, framed and metered. Stops when the user cancels.
Picture render_sheet(const Picture& source, const RenderSetting& setting,
                     const nlohmann::json& options);

}  // namespace morva::host
