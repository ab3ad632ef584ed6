// A Gaussian of a radius up to 128 along rows: a group makes 256 neighbours of one row from samples that it
// reads once.
#include "gaussian.hlsli"

static const uint kStretch = 256;
static const uint kMostRadius = 128;

groupshared float samples[kStretch + 2 * kMostRadius];
groupshared float weights[kMostRadius + 1];

MORVA_GROUP void main(uint3 group : SV_GroupID, uint lane : SV_GroupIndex) {
  const uint start = group.x * kStretch;
  const uint first = group.y * width();
  for (uint i = lane; i < kStretch + 2 * radius(); i += 256)
    samples[i] = line_sample(int(start + i) - int(radius()), width(), first, 1);
  if (lane <= radius()) weights[lane] = P[lane];
  GroupMemoryBarrierWithGroupSync();

  const uint x = start + lane;
  if (x >= width()) return;
  const uint centre = lane + radius();
  precise float sum = weights[0] * samples[centre];
  for (uint k = radius(); k > 0; --k) {
    const precise float pair = samples[centre - k] + samples[centre + k];
    sum = sum + pair * weights[k];
  }
  store(first + x, sum);
}
