// How ink comes to lie on the sheet: what prints at all, and what goes over from the plate or the
// matrix. `ink` is one plane, 0 bare paper, 1 full ink; all of it works in place.
#pragma once

#include "image/image.h"
#include "print/process_block.h"

namespace morva {

// What becomes of the ink of each place, in the order of the members.
struct Deposit {
  bool has_floor = false;  // less than `floor` does not print, the rest spreads over `range`
  float floor = 0.0f;
  float range = 1.0f;
  bool plugs = false;  // the bare share becomes its own power
  float plug_power = 1.0f;
  bool loses = false;  // share of a thin layer that goes over
  float taken = 1.0f;

  bool nothing() const { return !has_floor && !plugs && !loses; }
};

Deposit floor_and_plug_of(double ink_floor, double plug);
Deposit pickup_of(const TransferBlock& transfer);
void deposit(Image& ink, const Deposit& how);

// Sigma in pixels by which ink spreads on the way, for a sheet of w x h of them; 0 for none.
double soften_px(const TransferBlock& transfer, int w, int h, double px_per_mm);

// The lightest inks do not print at all, and the shadows fill in.
void floor_and_plug(Image& ink, double ink_floor, double plug);

// A heavy layer goes over worse than a thin one, and spreads on the way.
void transfer_ink(Image& ink, const TransferBlock& transfer, double px_per_mm);

}  // namespace morva
