// Light through a pixel of far smaller dye clouds, by the mean and variance of their density: P[0] the deviation
// of the rate, P[1] how far it is common to a pixel, P[2] the density of one grain over the pixel.
#include "interface.hlsli"
#include "philox.hlsli"
#include "poisson.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const float mean = U0[id];
  const float z = deviate_of(uniform_of(drawn_words(uint2(id, 0)).x));
  const float of_rate = mean * P[0];
  precise const float variance = (of_rate * of_rate) * P[1] + mean * P[2];
  precise const float density = at_least(mean + z * sqrt(variance), 0.0);
  U1[id] = exp2(-density * 3.32192802);
}
