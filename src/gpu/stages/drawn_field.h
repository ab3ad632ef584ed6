// Random fields of a print made by hand, on the GPU. Their samples are drawn on the CPU, where one
// sequence of numbers makes them all; enlarging them, which is most of the work, is done here.
#pragma once

#include "gpu/device.h"
#include "print/smooth_field.h"

namespace morva::gpu {

// sum_of_layers() of print/smooth_field.h on a raster of w x h pixels.
GImage sum_of_layers(Device& device, DrawnField drawn, std::int32_t w, std::int32_t h);

// Two of them at once.
struct FieldPair {
  GImage first, second;
};
FieldPair sums_of_layers(Device& device, DrawnField first, DrawnField second, std::int32_t w,
                         std::int32_t h);

// The single steps, each in place: a layer added in its share; a sum brought to unit deviation.
void add_layer(Device& device, const GImage& sum, float own_share, const GImage& layer,
               float share);
// One layer in both sums; `overwrite`: instead of what they hold.
void add_to_both(Device& device, const FieldPair& sums, const GImage& layer, float first_share,
                 float second_share, bool overwrite);
// (value - mean) * scale.
struct FieldScale {
  float mean = 0.0f;
  float scale = 1.0f;
};
void scale_field(Device& device, const GImage& field, const FieldScale& scale);
void scale_both(Device& device, const FieldPair& fields, const FieldScale& first,
                const FieldScale& second);

}  // namespace morva::gpu
