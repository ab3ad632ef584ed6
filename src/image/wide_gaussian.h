// The Gaussian of image/filters.h for kernels too wide to be summed tap by tap.
#pragma once

#include "image/image.h"

namespace morva {

// What gaussian_filter gives with the end samples continued, its cut at four sigmas included, but
// for a unit in the last place of a float here and there. Any number of channels; the image is
// filtered in place. A line costs its own length and the kernel's radius, not their product. A
// sigma of at most 1e-15 gives the image back; throws as gaussian_radius does. A sample that is not
// finite spoils all that comes after it in its row and column.
Image wide_gaussian_filter(Image image, double sigma);

// The Gaussian blur of one channel at full size, with the end samples continued, by whichever of
// the two filters is the faster for its radius.
Image blur_full_size(Image plane, double sigma);

}  // namespace morva
