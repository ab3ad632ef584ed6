// Metering: a picture file does not say how bright the scene was, so the host measures it and has
// the engine scale the light before the film sees it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "picture.h"

namespace morva::host {

// The option that carries the gain.
inline constexpr const char* kSourceGain = "_source_gain";

// "auto", "as_shot", "highlights", "shadows" or "off".
bool is_metering_mode(const std::string& mode);

// The mode in force: the flag `chosen` where it was given; "off" where the options hold a gain of
// their own; the option src_exposure where it is given; else "off" for a scene-linear picture,
// whose mid grey is a film's already, and "auto" for any other. Throws for an option that is no
// mode, and when a flag and a gain say two things of the same picture.
std::string metering_mode(const std::string& chosen, const nlohmann::json& options,
                          bool scene_linear);

// The light in the whole picture, whatever the crop: a part of a frame is exposed as the frame is.
MorvaSourceStats measured(const Picture& source);

// Sets the gain in `options`, by a `mode` other than "off".
void expose_source(const MorvaSourceStats& stats, const std::string& mode, nlohmann::json& options);

// Both, unless `mode` is "off".
void meter_source(const Picture& source, const std::string& mode, nlohmann::json& options);

}  // namespace morva::host
