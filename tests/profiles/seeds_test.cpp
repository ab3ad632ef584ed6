#include "profiles/seeds.h"

#include <gtest/gtest.h>

#include <limits>

#include "image/errors.h"

namespace morva {
namespace {

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();

TEST(Seeds, KeysNameSeedStreamAndVariant) {
  EXPECT_EQ(stream_key(Json::object(), kFilmStream), (Key{20260821, 1, 0}));
  EXPECT_EQ(stream_key({{"seed", 0}}, kTableStream, 31), (Key{0, 4, 0, 31}));
  const Json options = {{"seed", 5}, {"seed_variants", {{"film", 1}, {"develop", -3}}}};
  EXPECT_EQ(stream_key(options, kFilmStream), (Key{5, 1, 1}));
  EXPECT_EQ(stream_key(options, kFrameStream), (Key{5, 2, 0}));
  EXPECT_EQ(stream_key(options, kDevelopStream), (Key{5, 5, -3}));
  EXPECT_EQ(stream_key({{"seed_variants", nullptr}}, kFilmStream), (Key{20260821, 1, 0}));
}

TEST(Seeds, NumbersAreTruncatedAndHugeOnesSaturateOrWrap) {
  EXPECT_EQ(stream_key({{"seed", 7.9}}, 1)[0], 7);
  EXPECT_EQ(stream_key({{"seed", -7.9}}, 1)[0], -7);
  EXPECT_EQ(stream_key({{"seed", 1e300}}, 1)[0], kMost);
  EXPECT_EQ(stream_key({{"seed", -1e300}}, 1)[0], kLeast);
  EXPECT_EQ(stream_key({{"seed", 18446744073709551615u}}, 1)[0], -1) << "modulo 2^64";
  EXPECT_EQ(stream_key({{"seed", std::numeric_limits<double>::quiet_NaN()}}, 1)[0], 0);
  EXPECT_EQ(stream_key({{"seed_variants", {{"film", 1e30}}}}, 1)[2], kMost);
  EXPECT_THROW(stream_key({{"seed", "lucky"}}, 1), OptionsError);
  EXPECT_THROW(stream_key({{"seed_variants", {{"film", Json::array()}}}}, 1), OptionsError);
}

TEST(Seeds, PlatesFollowTheirListAndIgnoreVariants) {
  const Json options = {{"seed", 5}, {"seed_variants", {{"film", 1}}}};
  EXPECT_EQ(plate_key(Json::object(), "_dry_seed", options, 87), (Key{5, 1, 0, 87}));
  const Json film = {{"_dry_seed", {5.7, 1, -2, 87}}, {"_plate_seed", Json::array()}};
  EXPECT_EQ(plate_key(film, "_dry_seed", options, 87), (Key{5, 1, -2, 87, 87}));
  EXPECT_EQ(plate_key(film, "_plate_seed", options, 78), (Key{5, 1, 0, 78}));
  EXPECT_EQ(plate_key({{"_plate_seed", 3}}, "_plate_seed", options, 78), (Key{5, 1, 0, 78}));
}

}  // namespace
}  // namespace morva
