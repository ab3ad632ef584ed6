// Thresholds that place drops without clumps and without rows: the mask's noise has no low
// frequencies, so a tone made of it looks even from afar.
#pragma once

#include <filesystem>
#include <vector>

namespace morva {

inline constexpr int kBlueNoiseSide = 256;

// kBlueNoiseSide rows of as many thresholds, each value of 0..1 once; the mask repeats without a
// seam. `bluenoise256.png` of data_dir() is read at the first call and kept for the life of the
// process; a read that fails is tried anew. May be called from any thread. Throws as below.
const std::vector<float>& blue_noise();

// The mask in the file: grey of 16 bits, whose values are ranks. Throws std::runtime_error with the
// text "нет данных эталона: " and the path where there is no file, with
// "bluenoise256.png не читается" for one that is no such mask.
std::vector<float> read_blue_noise(const std::filesystem::path& file);

}  // namespace morva
