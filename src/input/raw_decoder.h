// Camera raw files: the sensor's counts, interpolated, balanced and brought to Rec. 709 primaries.
#pragma once

#include <string>

#include "image/image.h"
#include "input/picture_header.h"

namespace morva {

// Size upright and what the camera wrote down, from the file at the UTF-8 path `path`; no pixel is
// decoded. Throws std::runtime_error "cannot open ", "cannot read " or "LibRaw: cannot open " +
// path.
PictureHeader read_raw_header(const std::string& path);

// The picture in linear light, 1.0 where the sensor saturates, upright, three channels, on the
// caller's thread alone.
//
// `wb_mode` "film" and "custom" balance for daylight, as film is, so that the film's own balance
// meets the light of the scene as it was; every other mode, and a camera whose daylight is not
// known, takes the camera's own balance of the shot. `half_size` makes one pixel of each 2 x 2
// cell of the sensor.
//
// Throws as read_raw_header and "LibRaw: unpack failed for ", "LibRaw: processing failed for " and
// "LibRaw: unexpected output for " + path. A file that claims more than 256 megapixels or would
// need more than 4 GiB on the way fails to unpack.
Image load_raw(const std::string& path, const std::string& wb_mode, bool half_size);

}  // namespace morva
