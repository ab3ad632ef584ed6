// How ink comes to lie on the sheet, q(0) places of the plane U0: the lightest does not print, the shadows fill
// in, a heavy layer goes over worse than a thin one. q(1) tells which of the three.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)

#include "bounds.hlsli"
#include "logarithms.hlsli"
#include "process_layout.h"

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  precise float d = U0[id];
  if ((q(1) & deposit_layout::kHasFloor) != 0)
    d = within((d - P[deposit_layout::kFloor]) / P[deposit_layout::kRange], 0.0, 1.0);
  if ((q(1) & deposit_layout::kPlugs) != 0)
    d = 1.0 - power(within(1.0 - d, 0.0, 1.0), P[deposit_layout::kPlugPower]);
  if ((q(1) & deposit_layout::kLoses) != 0) {
    const float taken = P[deposit_layout::kTaken];
    d = (1.0 - d * (1.0 - taken)) * d * taken;
  }
  U0[id] = d;
}
