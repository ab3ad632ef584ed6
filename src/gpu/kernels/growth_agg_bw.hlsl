// Light through a pixel of far smaller silver grains, by its mean and variance. Where e is what the light through
// one sub-sample is on average, its variance is e^2 (exp(rate * blocked^2) - 1): the two exponentials of which it
// is the difference are too near to each other for single precision.
#include "interface.hlsli"
#include "philox.hlsli"
#include "poisson.hlsli"
#include "grain_layout.h"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

// exp(x) - 1, also of small x.
float grown_by(float x) {
  const float series = x * (1.0 + x * (0.5 + x * (0.16666667 + x * (0.041666667 + x * 0.0083333333))));
  return x < 0.2 ? series : exp(x) - 1.0;
}

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const float grains = U0[id] * P[kFactor];
  float light[kNodes];
  precise float mean = 0.0;
  precise float of_grains = 0.0;
  for (uint i = 0; i < kNodes; ++i) {
    const float rate = P[kRate + i] * grains;
    light[i] = exp(-(rate * P[kBlocked]));
    mean = mean + P[kWeight + i] * light[i];
    of_grains = of_grains + P[kWeight + i] * ((light[i] * light[i]) * grown_by(rate * P[kTwice]));
  }
  precise float of_rate = 0.0;
  for (uint k = 0; k < kNodes; ++k) {
    const float off_mean = light[k] - mean;
    of_rate = of_rate + P[kWeight + k] * (off_mean * off_mean);
  }
  const float z = deviate_of(uniform_of(drawn_words(uint2(id, 0)).x));
  precise const float variance = of_grains / P[kCells] + P[kShape] * of_rate;
  U1[id] = within(mean + z * sqrt(variance), 1e-6, 1.0);
}
