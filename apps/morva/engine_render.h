// The call that makes the sheet.
#pragma once

#include <nlohmann/json.hpp>

#include "picture.h"
#include "render_setting.h"

namespace morva::host {

// `options` are gathered, framed and metered. Stops when the user cancels.
Picture render_sheet(const Picture& source, const RenderSetting& setting,
                     const nlohmann::json& options);

// Renders mid grey of that size, to hear what the engine refuses: much of it only a render finds.
void try_out(PixelSize size, const RenderSetting& setting, const nlohmann::json& options);

}  // namespace morva::host
