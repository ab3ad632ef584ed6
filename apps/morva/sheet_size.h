// The engine's answer to how large a setting's sheet will be, and what the host says of one that is
// too large to render.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "picture.h"
#include "render_setting.h"

namespace morva::host {

// `source` is the picture's size; `options` are gathered and framed. Throws what the engine finds
// wrong with the setting; where the picture alone would do, with the options that surround it.
PixelSize sheet_size(const RenderSetting& setting, const nlohmann::json& options, PixelSize source);

// The options of the print alone, with neither border nor mat nor table, and of the picture alone,
// which has no rebate and no card either.
nlohmann::json print_alone(nlohmann::json options);
nlohmann::json picture_alone(nlohmann::json options);

// The complaint about a sheet that is larger than this host writes, with what makes it smaller; or
// nothing.
std::string too_large(PixelSize sheet,
                      const std::string& remedy = "a smaller picture or crop makes it smaller");

// Throws that complaint.
void require_sheet_that_fits(PixelSize sheet);

// "6000 x 4000 pixels"
std::string in_pixels(PixelSize size);

}  // namespace morva::host
