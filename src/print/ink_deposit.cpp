#include "print/ink_deposit.h"

#include <algorithm>

#include "image/elementary.h"
#include "image/filters.h"

namespace morva {

namespace {

constexpr double kNothing = 1e-4;       // strengths up to here leave the ink as it is
constexpr double kWholePickup = 0.999;  // and shares from here on

}  // namespace

Deposit floor_and_plug_of(double ink_floor, double plug) {
  Deposit how;
  how.has_floor = ink_floor > kNothing;
  how.floor = static_cast<float>(ink_floor);
  how.range = std::max(1.0f - how.floor, 1e-6f);  // a floor of 1 lets nothing through
  how.plugs = plug > kNothing;
  how.plug_power = static_cast<float>(1.0 + plug);
  return how;
}

Deposit pickup_of(const TransferBlock& transfer) {
  Deposit how;
  how.loses = transfer.pickup < kWholePickup;
  how.taken = static_cast<float>(transfer.pickup);
  return how;
}

void deposit(Image& ink, const Deposit& how) {
  if (how.has_floor)
    for (float& d : ink.data) d = std::clamp((d - how.floor) / how.range, 0.0f, 1.0f);
  if (how.plugs) {
    for (float& d : ink.data) d = std::clamp(1.0f - d, 0.0f, 1.0f);
    elementary::powf(ink.data.data(), how.plug_power, ink.data.data(), ink.data.size());
    for (float& d : ink.data) d = 1.0f - d;
  }
  if (how.loses)
    for (float& d : ink.data) d = (1.0f - d * (1.0f - how.taken)) * d * how.taken;
}

double soften_px(const TransferBlock& transfer, int w, int h, double px_per_mm) {
  if (transfer.soften_mm <= kNothing) return 0.0;
  const double most = static_cast<double>(std::max(w, h));
  return std::min(std::max(0.4, transfer.soften_mm * px_per_mm), most);
}

void floor_and_plug(Image& ink, double ink_floor, double plug) {
  deposit(ink, floor_and_plug_of(ink_floor, plug));
}

void transfer_ink(Image& ink, const TransferBlock& transfer, double px_per_mm) {
  deposit(ink, pickup_of(transfer));
  const double sigma_px = soften_px(transfer, ink.w, ink.h, px_per_mm);
  if (sigma_px > 0.0) ink = blur_plane(ink, sigma_px);
}

}  // namespace morva
