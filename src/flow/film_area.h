// The area of film that the picture takes: how long it is in micrometres, and how many pixels that
// is worth.
#pragma once

#include <optional>
#include <string>

#include "image/pixel_size.h"
#include "profiles/formats.h"
#include "profiles/json_access.h"

namespace morva {

struct FilmArea {
  bool is_instant = false;
  std::string format_name;
  std::string family;                     // "135", "120", "sheet" or "plate"
  std::optional<std::string> frame_name;  // a named frame of the family, or "custom"
  bool full_gate = true;                  // the crop is the whole gate
  double long_um = 0.0;                   // length on the film of the picture's long side
  double cap_um = 0.0;                    // length from which the master cap is computed
  double gate_um = 0.0;                   // length of the frame, or of an instant picture
};

// `film` is the profile as stored, `crop` what the crop left of the source.
FilmArea plan_film_area(const Json& film, const Json& opts, PixelSize source, PixelSize crop);

// The frame that the options choose.
FrameChoice chosen_frame(const Json& film, const Json& opts);

// The long side in pixels beyond which the raster is finer than the film; none where the option
// `master_cap` is off.
std::optional<int> master_cap(const Json& film, const FilmArea& area, const Json& opts);

// A picture reduced to that. A smaller one is never enlarged.
PixelSize master_size(PixelSize picture, std::optional<int> cap_px);

}  // namespace morva
