// The mask's spectrum, its sparsest tones, and files that are no mask.

#include "repro/blue_noise.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

#include "image/image.h"
#include "image/random.h"
#include "profiles/store.h"
#include "repro/drop_dither.h"

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

using Plane = std::vector<std::complex<double>>;

// The plane's discrete Fourier transform, a line of one axis after the other.
Plane transform(Plane plane) {
  std::vector<std::complex<double>> turn(kSide), line(kSide);
  for (int k = 0; k < kSide; ++k) turn[k] = std::polar(1.0, -2.0 * std::numbers::pi * k / kSide);
  for (const auto& [step, stride] : {std::pair(1, kSide), {kSide, 1}})
    for (int n = 0; n < kSide; ++n) {
      for (int k = 0; k < kSide; ++k) {
        line[k] = 0.0;
        for (int x = 0; x < kSide; ++x)
          line[k] += plane[n * stride + x * step] * turn[k * x % kSide];
      }
      for (int k = 0; k < kSide; ++k) plane[n * stride + k * step] = line[k];
    }
  return plane;
}

// Mean power below a quarter of the spectrum's mean frequency, in that of white noise.
double low_power(const std::vector<float>& values) {
  double mean = 0.0, variance = 0.0;
  for (const float v : values) mean += v / kCount;
  for (const float v : values) variance += (v - mean) * (v - mean) / kCount;
  Plane plane(values.begin(), values.end());
  plane = transform(plane);
  const auto frequency = [](std::size_t i) {
    const int y = static_cast<int>(i) / kSide, x = static_cast<int>(i) % kSide;
    return std::hypot(std::min(y, kSide - y), std::min(x, kSide - x)) / kSide;
  };
  double total = 0.0, moment = 0.0, low = 0.0;
  for (std::size_t i = 1; i < kCount; ++i) total += std::norm(plane[i]);
  for (std::size_t i = 1; i < kCount; ++i) moment += std::norm(plane[i]) * frequency(i);
  int counted = 0;
  for (std::size_t i = 1; i < kCount; ++i) {
    if (frequency(i) >= moment / total / 4.0) continue;
    low += std::norm(plane[i]);
    ++counted;
  }
  return low / counted / (variance * kCount);
}

std::vector<float> thrown(float tone) {
  std::vector<float> drops;
  for (const float threshold : mask()) drops.push_back(tone >= threshold ? 1.0f : 0.0f);
  return drops;
}

TEST(BlueNoise, HoldsEachRankOnceAndNoLowFrequencies) {
  std::vector<float> sorted = mask();
  std::sort(sorted.begin(), sorted.end());
  for (std::size_t i = 0; i < kCount; ++i)
    ASSERT_EQ((static_cast<float>(i) + 0.5f) / kCount, sorted[i]);
  EXPECT_LT(low_power(mask()), 0.002);
  for (const float tone : {0.1f, 0.5f, 0.8f}) EXPECT_LT(low_power(thrown(tone)), 0.1) << tone;
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

TEST(DropDither, AFlatToneCoversItsShareAndADropsCellIsOne) {
  const ProfileStore store{fs::path(MORVA_PROFILES_PATH)};
  for (const double pitch : {0.4, 1.0, 1.05, 1.3, 3.0, 700.0, 1e15}) {
    SCOPED_TRACE(pitch);
    Rng rng = rng_from_key({3}), after = rng;
    const int h = 300, w = 517;
    const ThresholdMap map = threshold_map(h, w, pitch, rng);
    after.skip(2);
    EXPECT_EQ(after.next(), rng.next());
    const double cell = pitch > 1.05 ? pitch : 1.0;
    for (int y = 0; y < h; ++y) {
      ASSERT_EQ(threshold_row(map, static_cast<int>(static_cast<int>(y / cell) * cell + 0.999)),
                threshold_row(map, y));
      const bool next_cell = static_cast<int>(y / cell) != static_cast<int>((y - 1) / cell);
      if (y > 0 && next_cell) {
        ASSERT_NE(threshold_row(map, y - 1), threshold_row(map, y));
      }
    }
    if (cell > 100.0) continue;
    Image tone(h, w, 1, 0.3f);
    throw_drops(map, 0, tone);
    double covered = 0.0;
    for (const float drop : tone.data) covered += drop / static_cast<double>(tone.data.size());
    EXPECT_NEAR(0.3, covered, 0.01);
  }
}

std::string failure_of(const std::string& bytes) {
  const fs::path file = fs::path(testing::TempDir()) / "morva_mask.png";
  std::ofstream(file, std::ios::binary) << bytes;
  try {
    read_blue_noise(file);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "";
}

TEST(BlueNoise, AFileThatIsNoMaskIsRefused) {
  std::ifstream in(kFile, std::ios::binary);
  const std::string whole{std::istreambuf_iterator<char>(in), {}};
  EXPECT_EQ("", failure_of(whole));
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
      whole.substr(0, whole.size() / 2),
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
    EXPECT_EQ("bluenoise256.png не читается", failure_of(bytes)) << bytes.size();
  for (std::size_t at = 0; at < 80; ++at)  // must not crash
    failure_of(flipped(at));

  const fs::path absent = fs::path(testing::TempDir()) / "absent" / "bluenoise256.png";
  try {
    read_blue_noise(absent);
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_EQ("нет данных эталона: " + absent.string(), error.what());
  }
}

}  // namespace
}  // namespace morva
