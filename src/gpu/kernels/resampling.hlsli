// One axis of a resize: each output is the sum of a run of inputs times its weights, in order. P holds the
// first input and the number of taps of each output, then q(3) weights for each.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

uint source_width() { return q(0); }
uint width() { return q(1); }
uint height() { return q(2); }

// Output `at` of `outputs` along a line that starts at element `first`, its elements `step` apart.
float resampled(uint at, uint outputs, uint first, uint step) {
  const uint begin = uint(P[2 * at]);
  const uint count = uint(P[2 * at + 1]);
  const uint weights = 2 * outputs + at * q(3);
  precise float sum = 0.0;
  for (uint k = 0; k < count; ++k)
    sum = sum + U0[(first + (begin + k) * step) * q(4) + q(5)] * P[weights + k];
  return sum;
}

void store(uint element, float value) { U1[element * q(6) + q(7)] = value; }
