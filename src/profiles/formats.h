// How long a picture is on the film: formats, named frames and what a crop leaves of them. Grain,
// halation and blur are in micrometres, so everything on the film is scaled by these lengths.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "profiles/json_access.h"

namespace morva {

struct FrameChoice {
  std::string family;  // "135", "120", "sheet" or "plate"
  std::optional<std::string>
      name;  // a frame of that family, or "custom"; none without a frame_size
};

// An unknown format falls back to "135"; a frame of another family becomes "custom".
FrameChoice resolve_frame(const std::string& format, const std::optional<std::string>& frame_size);

// Long side of a format without a named frame, micrometres; option `format_120_cm` chooses among
// the frames of 120 film.
double format_long_um(const std::string& format, const Json& opts);

// The long side in centimetres by which a frame of 120 film is called; 6 for any other name.
int frame_cm(const std::string& name);

// Long side over short side of a frame; 0 for "custom", for none and for one the family lacks.
double frame_aspect(const FrameChoice& frame);

// The named frames of a family.
std::vector<std::string> frame_names(const std::string& family);

struct FramePlan {
  double long_mm = 0.0;  // the frame on the film
  double short_mm = 0.0;
  double fit_long_px = 0.0;  // the largest rectangle of the frame's aspect inside the input
  double fit_short_px = 0.0;
  double crop_scale = 1.0;     // the crop's long side against fit_long_px
  bool full_gate = false;      // the crop is the whole gate of a named frame
  double image_long_um = 0.0;  // length on the film of the crop's long side
  double cap_long_um = 0.0;    // length from which the master cap is computed
};

// `width0` x `height0` is the input, `width1` x `height1` what the crop left of it, in pixels.
// `gate` is "full" (the crop is a part of the film), "texture" (so, but the raster's cap stays that
// of the frame) or any other word (the crop fills the frame). Throws std::out_of_range for a frame
// the family lacks.
FramePlan frame_plan(const std::string& family, const std::optional<std::string>& frame_name,
                     int width0, int height0, int width1, int height1, const std::string& gate);

// Pixels on the long side at which the raster is 5.5 um a pixel, finer than any stock resolves.
int master_cap_px(double cap_um);

// Long side of an instant picture, micrometres. `peel_size` names the sheet of peel-apart film;
// throws ProfileError for one that the film was not made in.
double instant_image_long_um(const Json& film, const std::string& peel_size);

// The master cap of instant film: a quarter of the period at which the stock's response has halved,
// and not below 5.5 um a pixel.
int instant_cap_px(const Json& film, double long_um);

}  // namespace morva
