// Blur and resize on the GPU: the filters of image/filters.h and image/resample.h with their
// weights, boundaries and order, in single precision.
#pragma once

#include <cstdint>

#include "gpu/device.h"
#include "gpu/stages/plane.h"
#include "image/filters.h"
#include "image/resample.h"

namespace morva::gpu {

// Columns first, then rows; `to` may be `from`. A sigma of at most 1e-15 copies.
void gaussian_filter(Device& device, const Plane& from, const Plane& to, double sigma, int mode);

// Blur with the edge samples continued, as a new picture; wide ones on a reduced copy. Any channel
// count.
GImage blur_image(Device& device, const GImage& picture, double sigma);
// The same for one channel; `to` may be `from`.
void blur_plane(Device& device, const Plane& from, const Plane& to, double sigma);

// As a new picture of any channel count; the present size gives the picture itself.
GImage resize(Device& device, const GImage& picture, std::int32_t new_w, std::int32_t new_h,
              int filter);

}  // namespace morva::gpu
