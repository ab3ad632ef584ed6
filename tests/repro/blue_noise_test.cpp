// The mask's evenness, its sparsest tones, and files that are no mask.

#include "repro/blue_noise.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>
#include <string>
#include <vector>

#include "input/failure_of.h"

namespace morva {
namespace {

namespace fs = std::filesystem;

constexpr int kSide = kBlueNoiseSide;
constexpr std::size_t kCount = std::size_t{kSide} * kSide;

const fs::path kFile = fs::path(MORVA_PROFILES_PATH).parent_path() / "data" / "bluenoise256.png";

const std::vector<float>& mask() {
  static const std::vector<float> thresholds = read_blue_noise(kFile);
  return thresholds;
}

// Variance of the means of blocks of 16 x 16, in that of white noise.
double unevenness(const std::vector<float>& values) {
  std::vector<double> blocks(kCount / 256);
  for (std::size_t i = 0; i < kCount; ++i)
    blocks[i / kSide / 16 * 16 + i % kSide / 16] += values[i] / 256.0;
  const double mean = std::accumulate(values.begin(), values.end(), 0.0) / kCount;
  double variance = 0.0, of_blocks = 0.0;
  for (const float v : values) variance += (v - mean) * (v - mean) / kCount;
  for (const double block : blocks) of_blocks += (block - mean) * (block - mean) * 256.0 / kCount;
  return 256.0 * of_blocks / variance;
}

std::vector<float> thrown(float tone) {
  std::vector<float> drops;
  for (const float threshold : mask()) drops.push_back(tone >= threshold ? 1.0f : 0.0f);
  return drops;
}

TEST(BlueNoise, HoldsEachRankOnceAndItsTonesAreEvenFromAfar) {
  std::vector<float> sorted = mask();
  std::sort(sorted.begin(), sorted.end());
  for (std::size_t i = 0; i < kCount; ++i)
    ASSERT_EQ((static_cast<float>(i) + 0.5f) / kCount, sorted[i]);
  for (const float tone : {0.1f, 0.5f, 0.8f}) EXPECT_LT(unevenness(thrown(tone)), 0.1) << tone;
}

// Few drops must keep apart as widely as many: n of them on a torus of area A could stand
// sqrt(2 A / (sqrt(3) n)) apart at most.
TEST(BlueNoise, TheSparsestTonesStandApart) {
  for (const int count : {16, 64, 300, 1500}) {
    const std::vector<float> drops = thrown(static_cast<float>(count) / kCount);
    std::vector<int> places;
    for (std::size_t i = 0; i < kCount; ++i)
      if (drops[i] > 0.0f) places.push_back(static_cast<int>(i));
    ASSERT_EQ(count, static_cast<int>(places.size()));
    double least = kSide;
    for (const int a : places)
      for (const int b : places) {
        const int dy = std::abs(a / kSide - b / kSide), dx = std::abs(a % kSide - b % kSide);
        if (a != b)
          least = std::min(least, std::hypot(std::min(dy, kSide - dy), std::min(dx, kSide - dx)));
      }
    EXPECT_GT(least, 0.45 * std::sqrt(2.0 * kCount / (std::sqrt(3.0) * count))) << count;
  }
}

TEST(BlueNoise, AFileThatIsNoMaskIsRefused) {
  std::ifstream in(kFile, std::ios::binary);
  const std::string whole{std::istreambuf_iterator<char>(in), {}};
  const auto refusal = [](const fs::path& file) {
    return testing_files::failure_of([&] { read_blue_noise(file); });
  };
  const auto told = [&](const std::string& bytes) {
    const fs::path file = fs::path(testing::TempDir()) / "morva_mask.png";
    std::ofstream(file, std::ios::binary) << bytes;
    return refusal(file);
  };
  EXPECT_EQ("", told(whole));
  const auto patched = [&](std::size_t at, const std::string& bytes) {
    std::string png = whole;
    return png.replace(at, bytes.size(), bytes);
  };
  const auto flipped = [&](std::size_t at) {
    return patched(at, std::string(1, static_cast<char>(whole[at] ^ 0x55)));
  };
  const std::string broken[] = {
      "",
      whole.substr(0, 20),
      whole.substr(0, whole.size() - 600),
      patched(16, std::string("\0\0\0\x80", 4)),            // 128 wide
      patched(20, std::string("\0\0\0\x80", 4)),            // 128 high
      patched(16, std::string("\0\0\0\x80\0\0\0\x80", 8)),  // 128 square
      patched(16, "\x7f\xff\xff\xff\x7f\xff\xff\xff"),
      patched(24, "\x08"),        // 8 bits
      patched(25, "\x02"),        // red, green and blue
      flipped(whole.size() / 3),  // ranks that come twice
      flipped(whole.size() / 2),
  };
  for (const std::string& bytes : broken)
    EXPECT_EQ("bluenoise256.png не читается", told(bytes)) << bytes.size();
  for (std::size_t at = 0; at < 80; ++at) told(flipped(at));  // must not crash
  const fs::path absent = fs::path(testing::TempDir()) / "absent" / "bluenoise256.png";
  EXPECT_EQ("нет данных эталона: " + absent.string(), refusal(absent));
}

}  // namespace
}  // namespace morva
