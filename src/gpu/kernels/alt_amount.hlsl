// How much ink q(0) places get: U1 is the share of the way from the paper's white to its black that its density
// has come, under the negative's density U0 relative to mid grey.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

#include "paper.hlsli"
#include "process_layout.h"

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const float negative = U0[id];
  const float density = paper_density(negative, P[print_layout::kVeil]);
  const float share = (density - paper_white()) / P[amount_layout::kRange];
  U1[id] = isnan(negative) ? 0.0 : within(share, 0.0, 1.0);  // what is no number is bare paper
}
