// Reading the picture or plane U0 between its pixels, a position outside taken at its edge.
#include "interface.hlsli"

MORVA_BUFFER(0)

// A position along one axis, between two samples.
struct Between {
  uint lower;
  uint upper;
  float upper_share;
};

Between between(float position, uint n) {
  const float inside = position > 0.0 ? min(position, float(n - 1)) : 0.0;  // no number gives 0
  Between place;
  place.lower = min(uint(inside), n - 1);
  place.upper = min(place.lower + 1, n - 1);
  place.upper_share = inside - float(place.lower);
  return place;
}

// Channel `offset` of a picture `width` wide whose pixels stand `stride` floats apart.
float bilinear(Between y, Between x, uint width, uint stride, uint offset) {
  const uint top = y.lower * width;
  const uint bottom = y.upper * width;
  const float lower_y = 1.0 - y.upper_share;
  const float lower_x = 1.0 - x.upper_share;
  const precise float upper_row = lower_x * U0[(top + x.lower) * stride + offset] +
                                  x.upper_share * U0[(top + x.upper) * stride + offset];
  const precise float lower_row = lower_x * U0[(bottom + x.lower) * stride + offset] +
                                  x.upper_share * U0[(bottom + x.upper) * stride + offset];
  const precise float sum = lower_y * upper_row + y.upper_share * lower_row;
  return sum;
}
