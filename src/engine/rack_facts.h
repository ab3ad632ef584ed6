// The facts of a setting, for a host's panel of information: what the lens, the film, the paper and
// the print run do at this size, read from the stages that will do it.
#pragma once

#include "image/pixel_size.h"
#include "profiles/json_access.h"

namespace morva {

struct RackSetting {
  Json film;                 // profiles as stored
  Json lens;                 // null: none
  Json paper;                // with its tube (with_tube_of)
  bool paper_named = false;  // else it is the film's own, of which no facts are told
  Json opts;                 // merged
  PixelSize source;          // pixels; a side below 1 counts as 1
  PixelSize crop;            // what the crop leaves of it; a side below 1: what the options' leaves
};

// One flat object; its keys stand at morva_rack_facts. Touches no picture and calibrates no grain.
// Throws what a render would throw for a profile, an option or a frame.
Json rack_facts(const RackSetting& setting);

}  // namespace morva
