// A lens as its stage sees it: strengths at the stop in use, lengths in pixels of the picture at
// hand. A fault too small to show is read as 0, and a strength of 0 costs nothing. All numbers are
// finite, whatever stands in the file.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "optics/aperture_response.h"
#include "profiles/json_access.h"

namespace morva {

// Radial: a sample comes from (1 + k1 r^2 + k2 r^4) times its distance r from the centre, in half
// diagonals. Positive is barrel.
struct Distortion {
  double k1;
  double k2;
};

// Light scattered by uncoated glass over the whole picture.
struct Veil {
  double strength;
  double sigma_px;
};

// Highlights that spread, in two lobes.
struct Bloom {
  double strength;
  float threshold;  // linear level
  std::array<double, 3> tint;
  double tight_sigma_px;
  double wide_sigma_px;
  double wide_share;
};

// Spherical aberration: a share of all light lies in a disc about its point, or in a ring.
struct Glow {
  double strength;
  std::array<double, 3> sigma_px;
  double ring;                  // 0 .. 0.95
  double focus_shift_sigma_px;  // of a blur over all of the glow's result
};

// Blur that grows towards the corners; strengths are its sigma in the corner as a fraction of the
// long side.
struct FieldBlur {
  double curvature;    // in both directions
  double astigmatism;  // along the circle about the centre
  double coma;         // along the radius
  double power;        // of the growth with the distance from the centre, not negative
  double detail_kept;  // how far sharp detail is spared, 0 .. 1
};

struct Vignette {
  double strength;  // loss in the corner
  float power;
};

struct Softness {
  double sigma_px;
  double share;
};

struct LensParameters {
  Distortion distortion;
  Veil veil;
  Bloom bloom;
  Glow glow;
  FieldBlur field;
  double lateral_colour;  // magnification of red less that of green
  Vignette vignette;
  Softness softness;                     // none where sigma_px is not above 0
  std::array<double, 3> axial_sigma_px;  // of each colour; 0 leaves it sharp
  std::optional<std::array<double, 3>> transmission;
};

// How far a lens is stopped down, in stops, and the shares of its faults that this leaves.
struct LensAperture {
  double stop = 0.0;
  ApertureResponse shares;
};

// Read as below.
LensAperture lens_aperture(const Json& lens, const Json& opts);

// Strengths are read from the lens's object `optics` where it has one, else from its top level.
// Options: `stop`, `distortion` (false makes the lens straight), `glow_mult`, `glow_radius_mult`.
// Numbers are bounded at a million either way, a sigma at two long sides of the picture and 2^18
// px. Throws OptionsError for a number of another type, the JSON library's type error for a
// `chroma_soft` that is no array, ProfileError for one shorter than 3.
LensParameters read_lens(const Json& lens, const Json& opts, std::int32_t w_px, std::int32_t h_px);

}  // namespace morva
