#include "print/ink_deposit.h"

#include <algorithm>

#include "image/elementary.h"
#include "image/filters.h"

namespace morva {

namespace {

constexpr double kNothing = 1e-4;       // strengths up to here leave the ink as it is
constexpr double kWholePickup = 0.999;  // and shares from here on

}  // namespace

void floor_and_plug(Image& ink, double ink_floor, double plug) {
  if (ink_floor > kNothing) {
    const auto floor = static_cast<float>(ink_floor);
    const float range = std::max(1.0f - floor, 1e-6f);  // a floor of 1 lets nothing through
    for (float& d : ink.data) d = std::clamp((d - floor) / range, 0.0f, 1.0f);
  }
  if (plug > kNothing) {
    for (float& d : ink.data) d = std::clamp(1.0f - d, 0.0f, 1.0f);
    elementary::powf(ink.data.data(), static_cast<float>(1.0 + plug), ink.data.data(),
                     ink.data.size());
    for (float& d : ink.data) d = 1.0f - d;
  }
}

void transfer_ink(Image& ink, const TransferBlock& transfer, double px_per_mm) {
  if (transfer.pickup < kWholePickup) {
    const auto taken = static_cast<float>(transfer.pickup);
    for (float& d : ink.data) d = (1.0f - d * (1.0f - taken)) * d * taken;
  }
  if (transfer.soften_mm > kNothing) {
    const double most = static_cast<double>(std::max(ink.w, ink.h));
    const double sigma = std::max(0.4, transfer.soften_mm * px_per_mm);
    ink = blur_plane(ink, std::min(sigma, most));
  }
}

}  // namespace morva
