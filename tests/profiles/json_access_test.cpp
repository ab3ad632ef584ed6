// Truth, text and numbers of JSON values, as stages rely on them, and the keys of random streams.

#include "profiles/json_access.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

#include "image/errors.h"
#include "input/failure_of.h"
#include "profiles/json_text.h"
#include "profiles/seeds.h"

namespace morva {
namespace {

TEST(JsonAccess, Truth) {
  for (const char* text : {"null", "false", "0", "0.0", "-0.0", "\"\"", "[]", "{}"})
    EXPECT_FALSE(truthy(Json::parse(text))) << text;
  for (const char* text : {"true", "1", "-1", "0.1", "\"0\"", "\"false\"", "[0]", "{\"a\": null}",
                           "18446744073709551615"})
    EXPECT_TRUE(truthy(Json::parse(text))) << text;
}

TEST(JsonAccess, Text) {
  const std::pair<const char*, const char*> texts[] = {{"None", "null"}, {"True", "true"},
                                                       {"120", "120"},   {"6.0", "6.0"},
                                                       {"6.5", "6.5"},   {"[1]", " [1 ]"}};
  for (const auto& [text, value] : texts) EXPECT_EQ(text, as_text(Json::parse(value)));
}

TEST(JsonAccess, Numbers) {
  const auto failure = [](const Json& value) {
    return testing_files::failure_of([&] { as_number(value, "k"); });
  };
  for (const auto& [value, number] :
       {std::pair<Json, double>{true, 1.0}, {"30", 30.0}, {"-.5", -0.5}, {"+2e3", 2e3}})
    EXPECT_EQ(number, as_number(value, "k"));
  for (const char* text : {"", "abc", "30x", " 30", "1e999", "nan", "inf", "+-1", "0x10", "-"})
    EXPECT_EQ("«k»: не число — " + std::string(text), failure(Json(text)));
  EXPECT_EQ("«k»: ожидалось число, пришло null", failure(Json()));
  EXPECT_EQ("«k»: ожидалось число, пришло {\"a\":1}", failure(Json::parse("{\"a\": 1}")));
}

TEST(JsonAccess, MissingNullAndFalsyDiffer) {
  const Json map = Json::parse(R"({"nil": null, "zero": 0, "five": 5, "empty": ""})");
  EXPECT_EQ(7.0, get_number(map, "missing", 7.0));
  EXPECT_THROW(get_number(map, "nil", 7.0), OptionsError);
  EXPECT_EQ(3.0, get_number_or(map, "missing", 3.0, 4.0));
  for (const char* falsy : {"nil", "zero"}) EXPECT_EQ(4.0, get_number_or(map, falsy, 3.0, 4.0));
  EXPECT_EQ("None", get_text(map, "nil", "d"));
  for (const char* falsy : {"nil", "empty"}) EXPECT_EQ("d", get_text_or(map, falsy, "d"));
  EXPECT_EQ(std::nullopt, get_optional_text(map, "nil"));
  EXPECT_EQ("", get_optional_text(map, "empty"));
  EXPECT_FALSE(get_bool(map, "nil", true));
  EXPECT_TRUE(get(Json::array({1}), "five").is_null());
  EXPECT_TRUE(get_object(Json::array({1}), "five").empty());
}

TEST(JsonText, DepthIsBounded) {
  EXPECT_NO_THROW(parse_json(std::string(64, '[') + std::string(64, ']')));
  EXPECT_ANY_THROW(parse_json(std::string(65, '[') + std::string(65, ']')));
  EXPECT_ANY_THROW(parse_json("\"\xc3\x28\""));
  EXPECT_ANY_THROW(parse_json("{\"a\": 1} // note"));
}

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
  for (const auto& [seed, first] : {std::pair<Json, std::int64_t>{7.9, 7},
                                    {-7.9, -7},
                                    {1e300, INT64_MAX},
                                    {-1e300, INT64_MIN},
                                    {18446744073709551615u, -1},  // modulo 2^64
                                    {std::nan(""), 0}})
    EXPECT_EQ(stream_key({{"seed", seed}}, 1)[0], first) << seed;
  EXPECT_EQ(stream_key({{"seed_variants", {{"film", 1e30}}}}, 1)[2], INT64_MAX);
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
