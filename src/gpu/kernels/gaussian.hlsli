// A symmetric kernel along one axis of a plane: the centre first, then pairs of samples from the farthest
// inwards, each pair added before it is weighed. P holds the weights at distances 0 .. radius.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

uint width() { return q(0); }
uint height() { return q(1); }
uint radius() { return q(3); }

// The sample of 0 .. n - 1 that stands at index i of the line continued beyond its ends; -1 for a zero.
int source_index(int i, int n) {
  if (i >= 0 && i < n) return i;
  const uint boundary = q(4);
  if (boundary == 3) return -1;                  // constant
  if (boundary == 0) return i < 0 ? 0 : n - 1;  // nearest
  const uint period = uint(boundary == 2 ? n : 2 * n);
  const uint phase = i < 0 ? period - 1 - uint(-1 - i) % period : uint(i) % period;
  return int(phase < uint(n) ? phase : period - 1 - phase);  // wrap, else mirrored
}

float element(uint index) { return U0[index * q(5) + q(6)]; }

// Sample i of a line of n that starts at element `first`, its elements `step` apart.
float line_sample(int i, uint n, uint first, uint step) {
  const int from = source_index(i, int(n));
  if (from < 0) return 0.0;
  return element(first + uint(from) * step);
}

// The same sum for output `at` of the line, straight from the buffer.
float line_sum(uint at, uint n, uint first, uint step) {
  const uint centre = first + at * step;
  const uint to_nearer_end = min(at, n - 1 - at);
  precise float sum = P[0] * element(centre);
  uint k = radius();
  for (; k > to_nearer_end; --k) {
    const precise float pair =
        line_sample(int(at) - int(k), n, first, step) + line_sample(int(at + k), n, first, step);
    sum = sum + pair * P[k];
  }
  for (; k > 0; --k) {
    const precise float pair = element(centre - k * step) + element(centre + k * step);
    sum = sum + pair * P[k];
  }
  return sum;
}

void store(uint element, float value) { U1[element * q(7) + q(8)] = value; }
