#include "profiles/seeds.h"

#include <cmath>
#include <limits>

namespace morva {

namespace {

constexpr std::int64_t kDefaultSeed = 20260821;
constexpr const char* kStreamNames[] = {"film", "frame", "print", "table", "develop"};

// Truncated towards zero; what no 64-bit integer holds becomes the nearest one.
std::int64_t whole(double number) {
  if (std::isnan(number)) return 0;
  if (number >= 0x1p63) return std::numeric_limits<std::int64_t>::max();
  if (number < -0x1p63) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(number);
}

// An integer keeps all its 64 bits, signed or not, for keys are modulo 2^64; any other value is
// read as a number.
std::int64_t whole(const Json& value, std::string_view key) {
  if (value.is_number_integer()) return value.get<std::int64_t>();
  return whole(as_number(value, key));
}

std::int64_t seed_of(const Json& options) {
  return has(options, "seed") ? whole(get(options, "seed"), "seed") : kDefaultSeed;
}

std::int64_t variant_of(const Json& options, int stream) {
  if (stream < kFilmStream || stream > kDevelopStream) return 0;
  const Json& variants = get_object(options, "seed_variants");
  const char* name = kStreamNames[stream - 1];
  return has(variants, name) ? whole(get(variants, name), name) : 0;
}

}  // namespace

Key stream_key(const Json& options, int stream, std::optional<std::int64_t> extra) {
  Key key = {seed_of(options), stream, variant_of(options, stream)};
  if (extra) key.push_back(*extra);
  return key;
}

Key seed_key(const Json& options) {
  return {seed_of(options)};
}

Key listed_key(const Json& words, std::string_view name) {
  Key key;
  for (const Json& word : words) key.push_back(whole(word, name));
  return key;
}

Rng seeded_rng(const Json& options, int stream, std::optional<std::int64_t> extra) {
  return rng_from_key(stream_key(options, stream, extra));
}

Key plate_key(const Json& film, std::string_view name, const Json& options, std::int64_t tag) {
  const Json& words = get(film, name);
  if (!words.is_array() || words.empty()) return {seed_of(options), kFilmStream, 0, tag};
  Key key = listed_key(words, name);
  key.push_back(tag);
  return key;
}

}  // namespace morva
