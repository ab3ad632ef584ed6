// Smooth random fields of a print made by hand: white noise that is spread over a length, or over
// one length along the rows and another across them.
#pragma once

#include <vector>

#include "image/image.h"
#include "image/random.h"

namespace morva {

// White noise of w x h samples under a Gaussian of `sigma_x` of them along the rows and `sigma_y`
// across, mirrored at the ends. A sigma beyond twice the side is taken as that.
Image spread_noise(Rng& rng, int w, int h, double sigma_x, double sigma_y);

// Such a field of unit deviation on a raster of w x h pixels. A wide one is made on a coarser
// raster, which follows from the sizes alone, and takes as many normals as that has samples. Its
// mean is what the noise gives: near zero where the picture holds many sigmas.
Image stroke_field(Rng& rng, int w, int h, double sigma_x, double sigma_y);

// The same without a direction.
Image smooth_field(Rng& rng, int w, int h, double sigma);

// One field of a sum, as it is drawn.
struct FieldLayer {
  Image samples;
  double share = 1.0;  // in the sum, beside the first layer's 1
  // Of the picture's raster and of unit deviation. Else the samples stand on a raster of their own
  // and are to be enlarged and scaled.
  bool finished = false;
};

// Layers that add up to one field of unit deviation.
struct DrawnField {
  std::vector<FieldLayer> layers;
  bool about_its_mean = false;  // the sum's mean is taken off
};

// The draws of a stroke_field or a smooth_field, not enlarged yet.
FieldLayer stroke_layer(Rng& rng, int w, int h, double sigma_x, double sigma_y, double share = 1.0);
FieldLayer smooth_layer(Rng& rng, int w, int h, double sigma, double share = 1.0);

// The field on a raster of w x h pixels.
Image sum_of_layers(DrawnField drawn, int w, int h);

// What brings a field of this deviation to one; 0 where it has none.
float unit_scale(double deviation);

// In place. A field without any deviation becomes nothing.
void scale_to_unit_deviation(Image& field);

// In place.
void take_off_mean(Image& field);

}  // namespace morva
