#include "repro/blue_noise.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <mutex>
#include <stdexcept>

#include "profiles/store.h"
#include "profiles/system.h"

namespace {

// A damaged file may claim to unfold into anything; the mask needs 128 KiB.
constexpr std::size_t kLargestBlock = std::size_t{1} << 20;

void* resize_block(void* block, std::size_t size) {
  return size <= kLargestBlock ? std::realloc(block, size) : nullptr;
}

}  // namespace

#define STBI_MALLOC(size) resize_block(nullptr, size)
#define STBI_REALLOC(block, size) resize_block(block, size)
#define STBI_FREE(block) std::free(block)
#define STBI_ASSERT(x) (static_cast<void>(x))
#define STBI_MAX_DIMENSIONS 256
#define STBI_ONLY_PNG
#define STBI_NO_STDIO
#define STBI_NO_FAILURE_STRINGS
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#endif
#include <stb/stb_image.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace morva {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kLargestFile = std::size_t{1} << 20;
constexpr std::size_t kRanks = std::size_t{kBlueNoiseSide} * kBlueNoiseSide;

std::vector<std::uint8_t> read_file(const fs::path& file) {
  std::error_code error;
  std::ifstream in;
  if (fs::is_regular_file(file, error)) in.open(file, std::ios::binary);
  if (!in.is_open()) throw std::runtime_error("нет данных эталона: " + utf8_from_path(file));
  std::vector<std::uint8_t> bytes(kLargestFile);
  in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(in.gcount()));
  return bytes;
}

using Ranks = std::unique_ptr<stbi_us, void (*)(void*)>;

// Each once, so that an even tone gets its share of drops.
bool are_permutation(const stbi_us* ranks) {
  std::vector<bool> seen(kRanks);
  for (std::size_t i = 0; i < kRanks; ++i) {
    if (seen[ranks[i]]) return false;
    seen[ranks[i]] = true;
  }
  return true;
}

// Nothing for what is no mask.
Ranks decode_ranks(const std::vector<std::uint8_t>& png) {
  const int size = static_cast<int>(png.size());
  int w = 0, h = 0, channels = 0;
  Ranks ranks(nullptr, stbi_image_free);
  if (stbi_is_16_bit_from_memory(png.data(), size))
    ranks.reset(stbi_load_16_from_memory(png.data(), size, &w, &h, &channels, 0));
  if (w != kBlueNoiseSide || h != kBlueNoiseSide || channels != 1) ranks.reset();
  if (ranks && !are_permutation(ranks.get())) ranks.reset();
  return ranks;
}

}  // namespace

std::vector<float> read_blue_noise(const fs::path& file) {
  const Ranks ranks = decode_ranks(read_file(file));
  if (!ranks) throw std::runtime_error("bluenoise256.png не читается");
  std::vector<float> thresholds(kRanks);
  for (std::size_t i = 0; i < kRanks; ++i)
    thresholds[i] = (static_cast<float>(ranks.get()[i]) + 0.5f) / static_cast<float>(kRanks);
  return thresholds;
}

const std::vector<float>& blue_noise() {
  static std::mutex lock;
  static std::vector<float> mask;
  const std::lock_guard guard(lock);
  if (mask.empty()) mask = read_blue_noise(data_dir() / "bluenoise256.png");
  return mask;
}

}  // namespace morva
