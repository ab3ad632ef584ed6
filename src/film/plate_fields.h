// A plate that was coated by hand: what the pour leaves in it. Collodion is flowed over the glass
// from one corner, so its film is thicker there, streaked along its run and ends in a wavy edge;
// gelatine is spread evenly and shows the edge alone, where it also fogs.
#pragma once

#include "film/plate_corner.h"
#include "film/plate_edge.h"
#include "image/image.h"
#include "image/random.h"
#include "profiles/json_access.h"

namespace morva {

enum class PlateKind { none, wet, dry };

// What the stages of a plate need of the film and of the options.
struct PlateParams {
  PlateKind kind = PlateKind::none;
  double pour = 0.0;  // strength of all its marks, 1 for a careful hand; 0 for none
  double push = 0.0;  // stops of longer development, at least 0
  double slope = 0.1, crescent = 0.1, wander = 0.035;  // of a wet plate's pour
  double veil = 0.06, crystal = 0.5;                   // of its developer
  double edge_fog = 0.35;                              // of a dry plate
  PlateEdge edge;
  Key key;  // of the plate's own generator
};

PlateParams plate_params(const Json& film, const Json& options);

// Fields over the picture, one channel each and of its size; empty on film and where there was no
// pour. `rng` stands after their draws and goes on to the developer's marks.
struct PlateFields {
  Image gain;          // of the exposure
  Image edge;          // share of the plate that is coated
  PlateCorner corner;  // from which a wet plate was poured
  Rng rng = {};
};

PlateFields plate_fields(const PlateParams& plate, int w, int h, double px_um);

struct PourField {
  Image gain;
  PlateCorner corner;
};

// Gain of the exposure by the thickness of the flowed film, from a corner drawn at random: it falls
// across the diagonal from there, shows a crescent round the corner where the pool paused, and
// streaks along the run. `px_um`: a pixel's size on the plate, micrometres. Two draws.
PourField pour_field(int h, int w, double px_um, const PlateParams& plate, Rng& rng);

}  // namespace morva
