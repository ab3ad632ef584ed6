// RMS granularity: the deviation of the density of an even patch, seen through a round aperture of
// 48 micrometres. It is the number by which film makers tell how grainy a stock is (ISO 10505,
// there times 1000 at a density of 1.0), and the yardstick that both grain engines share.
#pragma once

#include <array>
#include <cstdint>

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// The sheet on which granularity is measured, and the key of its noise.
inline constexpr int kSheetSide = 512;     // pixels
inline constexpr double kSheetPxUm = 6.0;  // micrometres
inline constexpr std::int64_t kMeasurementKey = 20260827;

// Deviation of the disc's means over every pixel whose whole disc lies within the picture. One
// channel; `um_per_px` is a pixel's size on the film. 0 where the disc fits nowhere.
double rms_aperture(const Image& density, double um_per_px);

// Granularity of the classic grain at a density of 1.0 above base, on a sheet of 512 x 512 pixels
// of 6 micrometres, whose noise is the same in every process. `grain` is the film's record.
double classic_sigma48(const Json& grain, double dmin, double dmax);
std::array<double, 3> classic_sigma48_color(const Json& grain, const std::array<double, 3>& dmin,
                                            const std::array<double, 3>& dmax);

}  // namespace morva
