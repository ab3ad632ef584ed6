// The print shown through one more medium: run off on an inkjet or a press, or photographed from
// the screen of a tube.
#pragma once

#include "image/image.h"
#include "image/random.h"
#include "image/render_context.h"
#include "profiles/json_access.h"

namespace morva {

// The paper with the tube that its picture is shown on: its own block `crt`, or the film's where it
// has none. Every stage and plan below reads the tube from what this gives.
Json with_tube_of(const Json& film, Json paper);

// `print` is linear reflectance, one channel or three; three come back, 0..1, at its own size. The
// key `repro` of the paper names the medium, the block of that name tells of it; without one the
// print passes. `print_px_um` is the size of one pixel on the sheet. Draws from `rng`, of the
// stream "print". Throws NotPorted for a medium that is not there, std::out_of_range with the text
// "invalid map<K, T> key" for inks, papers and phosphors that are not, std::runtime_error for blue
// noise that cannot be read.
Image repro_stage(Image print, const Json& paper, const Json& options, double print_px_um, Rng& rng,
                  RenderContext& ctx);

}  // namespace morva
