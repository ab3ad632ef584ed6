// Sheets and inks of printing machines, and how a sheet looks under its inks: each ink is a filter
// on the paper, so the light of all of them is the product.
#pragma once

#include <array>
#include <cstddef>
#include <string>

namespace morva {

enum Ink : int { kCyan, kMagenta, kYellow, kBlack };
inline constexpr int kInks = 4;

// Linear RGB of each ink printed solid on white, in the order of `Ink`.
using InkSet = std::array<std::array<float, 3>, kInks>;

// Angle of each ink's screen, degrees. Yellow, which shows least, stands where two screens are
// closest; black, which shows most, where the eye sees a screen least.
inline constexpr std::array<double, kInks> kScreenAngleDeg = {15.0, 75.0, 0.0, 45.0};

// Linear RGB of the bare sheet `name`. Throws std::out_of_range for a name that is none.
std::array<float, 3> printing_paper(const std::string& name);

// Likewise.
const InkSet& ink_set(const std::string& name);

// The light of n pixels of a sheet `base` under coverages 0..1 of `count` planes of ink, in their
// order: base times 1 - (1 - ink) * a of each. Ink colours are held to 0..1. `rgb` is interleaved.
void overprint(const float* const* planes, const std::array<float, 3>* inks, int count,
               const std::array<float, 3>& base, std::size_t n, float* rgb);

}  // namespace morva
