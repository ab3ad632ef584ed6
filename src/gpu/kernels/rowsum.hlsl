// Sums in double precision: each group adds up to 4096 consecutive elements of a row. The sums stand in U1 in
// the order of their stretches, row after row.
#include "interface.hlsli"
#include "weighted_sum.hlsli"

static const uint kStretch = 4096;
static const uint kTransmittance = 1;  // 10^(P[0] - density)
static const uint kWeighted = 2;       // three channels weighed by P
static const uint kSquare = 3;         // the element squared; any other mode: the element

MORVA_TABLE
MORVA_BUFFER(0)
[[vk::binding(2, 0)]] RWStructuredBuffer<double> U1;

groupshared double partial[256];

double term(uint element) {
  const uint at = element * q(3) + q(4);
  const float x = U0[at];
  if (q(2) == kTransmittance) return double(exp2((P[0] - x) * 3.32192802));
  if (q(2) == kWeighted)
    return double(weighted_sum(x, U0[at + 1], U0[at + 2], P[0], P[1], P[2]));
  if (q(2) == kSquare) return double(x) * double(x);
  return double(x);
}

MORVA_GROUP void main(uint3 group : SV_GroupID, uint lane : SV_GroupIndex) {
  const uint end = min((group.x + 1) * kStretch, q(1));
  double sum = 0.0;
  for (uint i = group.x * kStretch + lane; i < end; i += 256) sum += term(group.y * q(1) + i);
  partial[lane] = sum;
  GroupMemoryBarrierWithGroupSync();
  for (uint half_count = 128; half_count > 0; half_count >>= 1) {
    if (lane < half_count) partial[lane] += partial[lane + half_count];
    GroupMemoryBarrierWithGroupSync();
  }
  if (lane == 0) U1[group.y * q(5) + group.x] = partial[0];
}
