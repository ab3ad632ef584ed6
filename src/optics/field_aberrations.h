// The faults of a lens towards the edge of its field: curvature, which blurs all around,
// astigmatism, which blurs along the circle about the centre, and coma, which blurs along the
// radius.
#pragma once

#include "image/image.h"
#include "image/render_context.h"
#include "optics/lens_parameters.h"

namespace morva {

// Three channels in and out at the same size, no sample below 0. The blur is made on a reduced copy
// in polar coordinates, where circles and radii are straight lines, and only the difference that it
// makes is brought back, so that the middle of the picture stays untouched. Strengths whose blur in
// the corner stays below 0.6 px give the picture back. Throws std::bad_alloc when the polar copy
// would pass 2^28 samples, which takes a picture of some 40,000 px, and Cancelled between the bands
// of the blur.
Image blur_field(Image picture, const FieldBlur& field, const RenderContext& ctx);

}  // namespace morva
