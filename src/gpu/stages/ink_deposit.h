// How ink comes to lie on the sheet, on the GPU: print/ink_deposit.h. `ink` is one plane, 0 bare
// paper, 1 full ink, changed in place.
#pragma once

#include "gpu/device.h"
#include "print/ink_deposit.h"

namespace morva::gpu {

void deposit(Device& device, const GImage& ink, const Deposit& how);

void floor_and_plug(Device& device, const GImage& ink, double ink_floor, double plug);

void transfer_ink(Device& device, const GImage& ink, const TransferBlock& transfer,
                  double px_per_mm);

}  // namespace morva::gpu
