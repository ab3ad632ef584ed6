// The source as the photographer framed it: cropped, straightened, mirrored and turned upright.
#pragma once

#include "image/image.h"
#include "input/crop_geometry.h"
#include "profiles/json_access.h"

namespace morva {

// The part of `image` that `crop` names (crop_pixels; null is the whole picture), from the picture
// turned by `angle` degrees about its centre (Straightening). A turned picture is interpolated with
// a Catmull-Rom cubic in single precision, and what lies outside repeats its edge. Without an angle
// and a crop the image passes through uncopied. One to four channels (std::invalid_argument); any
// number when there is no angle.
Image rotate_crop_input(Image image, const Json& crop, double angle);

// What the options `crop`, `crop_angle`, `mirror` and `rotate` make of the source, in that order.
// `rotate` counts in whole degrees.
Image upright_source(Image source, const Json& options);

// Whether they leave a source of that size as it is.
bool is_upright(PixelSize source, const Json& options);

// The size that this leaves of a source.
struct UprightSize {
  PixelSize crop;  // before the quarter turns
  PixelSize turned;
};
UprightSize upright_size(PixelSize source, const Json& options);

}  // namespace morva
