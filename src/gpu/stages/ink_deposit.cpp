#include "gpu/stages/ink_deposit.h"

#include "gpu/kernels/process_layout.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/filters.h"
#include "gpu/stages/plane.h"

namespace morva::gpu {

namespace {

std::vector<float> deposit_table(const Deposit& how) {
  std::vector<float> table(deposit_layout::kNumbers);
  table[deposit_layout::kFloor] = how.floor;
  table[deposit_layout::kRange] = how.range;
  table[deposit_layout::kPlugPower] = how.plug_power;
  table[deposit_layout::kTaken] = how.taken;
  return table;
}

std::uint32_t steps_of(const Deposit& how) {
  return word((how.has_floor ? deposit_layout::kHasFloor : 0) |
              (how.plugs ? deposit_layout::kPlugs : 0) | (how.loses ? deposit_layout::kLoses : 0));
}

}  // namespace

void deposit(Device& device, const GImage& ink, const Deposit& how) {
  if (how.nothing()) return;
  launch_elements(device, Kernel::alt_pickup, pixels(ink), {word(pixels(ink)), steps_of(how)},
                  deposit_table(how), {ink.buffer.get()});
}

void floor_and_plug(Device& device, const GImage& ink, double ink_floor, double plug) {
  deposit(device, ink, floor_and_plug_of(ink_floor, plug));
}

void transfer_ink(Device& device, const GImage& ink, const TransferBlock& transfer,
                  double px_per_mm) {
  deposit(device, ink, pickup_of(transfer));
  const double sigma_px = soften_px(transfer, ink.width, ink.height, px_per_mm);
  if (sigma_px > 0.0) blur_plane(device, plane_of(ink), plane_of(ink), sigma_px);
}

}  // namespace morva::gpu
