// Prints made by hand: an ink, a pigment or a stain laid on plain paper by the paper's `process`,
// in place of a silver image. The negative is exposed as on black-and-white paper; the density that
// the sheet would take is how much ink it gets.
#pragma once

#include "image/image.h"
#include "image/render_context.h"
#include "profiles/hd_curve.h"
#include "profiles/json_access.h"

namespace morva {

// Linear RGB of the print, 0..1, of the size of `density`, one channel relative to mid grey, of
// whatever negative. `mask`, one channel, 1 where the picture is, may be null. Random: one
// generator of the stream "print", drawn in the order of the stages: texture, roller, coat. Throws
// as read_process_block does, and std::logic_error for a mask of another size.
Image print_density_by_process(Image density, const Json& paper, const Json& options,
                               const Image* mask, RenderContext& ctx);

// The same from the exposed scene: linear RGB, 0..1, of the size of `scene` (linear light, three
// channels). `um_per_px` is a pixel's size on the film; that on the print is the option
// `print_px_um`. `uneven`, a field of uneven development, and `mask` may be null.
Image print_process(Image scene, const Json& film, const Json& paper, const Json& options,
                    double um_per_px, const Image* uneven, const Image* mask, RenderContext& ctx);

// Throws where `mask` is not null and of another size.
void require_mask_size(const Image* mask, int h, int w);

// How densities of the paper become ink: their share of the way from its white to its black.
struct InkScale {
  float white = 0.0f;
  float range = 1.0f;
};
InkScale ink_scale(const HdCurve& curve);

// The plane of ink, 0 bare paper, 1 full ink, for densities of a negative relative to mid grey: the
// paper's density on its own scale from white to black.
Image ink_of_negative(Image density, const Json& paper, const Json& options);

}  // namespace morva
