// The area of film that the picture takes: how long it is in micrometres, and how many pixels that
// is worth.
#pragma once

#include <optional>
#include <string>

#include "image/image.h"
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
};

// `film` is the profile as stored. `width0` x `height0` is the source, `width1` x `height1` what
// the crop left of it, in pixels.
FilmArea plan_film_area(const Json& film, const Json& opts, int width0, int height0, int width1,
                        int height1);

// Reduces a picture whose long side exceeds what the film can resolve; a smaller one is never
// enlarged.
Image fit_master(Image work, const Json& film, const FilmArea& area, const Json& opts);

}  // namespace morva
