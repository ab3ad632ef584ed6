// What the engine tells of a setting before it is rendered: curves, window, raster, grain, print;
// morva.h lists the keys.
#pragma once

#include <nlohmann/json.hpp>

#include "picture.h"
#include "render_setting.h"

namespace morva::host {

// `source` is the picture's size; `options` are gathered and framed. Throws for a film, lens or
// paper that there is not, and what the engine finds wrong with the options.
nlohmann::ordered_json engine_facts(const RenderSetting& setting, const nlohmann::json& options,
                                    PixelSize source);

}  // namespace morva::host
