// The faults of a lens towards the edge of its field: curvature, which blurs all around,
// astigmatism, which blurs along the circle about the centre, and coma, which blurs along the
// radius.
#pragma once

#include <cstdint>
#include <optional>

#include "image/image.h"
#include "image/render_context.h"
#include "optics/lens_parameters.h"

namespace morva {

// The size at which the blur is made, so that it reaches 12 px at most.
struct FieldReduction {
  std::int32_t w;
  std::int32_t h;
  double corner_blur_px;  // on the reduced copy
};

// None where the strengths' blur in the corner stays below 0.6 px.
std::optional<FieldReduction> field_reduction(const FieldBlur& field, std::int32_t w,
                                              std::int32_t h);

// What the blur changes in the reduced copy. It is made in polar coordinates, where circles and
// radii are straight lines. Three channels. Throws std::bad_alloc when the polar copy would pass
// 2^28 samples, which takes a picture of some 40,000 px, and Cancelled between the bands of the
// blur.
Image field_difference(Image reduced, const FieldBlur& field, const FieldReduction& reduction,
                       const RenderContext& ctx);

// Three channels in and out at the same size, no sample below 0. The difference alone is enlarged
// and added, so that the middle of the picture stays untouched; without a reduction the picture
// comes back as it is. Throws as above.
Image blur_field(Image picture, const FieldBlur& field, const RenderContext& ctx);

}  // namespace morva
