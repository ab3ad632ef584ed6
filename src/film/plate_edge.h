// Where the coating of a plate ends: the wavy line along each side at which the poured film
// stopped, the bead and the frill that it dried with, and the bare corner by which the plate was
// held.
#pragma once

#include "image/image.h"
#include "image/random.h"
#include "profiles/json_access.h"

namespace morva {

struct PlateEdge {
  double gain = 0.12;     // more light caught where the film is thick, at the edge itself
  double frill_mm = 1.2;  // width of the bead at the edge
  double frill = 0.5;     // how far that width varies, in scallops
  double wave_mm = 6.0;   // wavelength of the edge
  double hold_mm = 5.0;   // legs of the bare corner; 0 for none
  double rough = 0.6;     // how far the edge wanders, in widths of the bead
};

// From a film's `collodion` or `dryplate` record.
PlateEdge plate_edge(const Json& record);

struct PlateField {
  Image gain;  // of the exposure: 1 inside, more at the edge
  Image edge;  // share of the plate that is coated: 1 inside, 0 on bare glass
};

// `pour` scales the marks, 1 for a careful hand; `px_um` is a pixel's size on the plate,
// micrometres. The number of draws of `rng` is fixed.
PlateField plate_field(int w, int h, double px_um, const PlateEdge& edge, double pour, Rng& rng);

}  // namespace morva
