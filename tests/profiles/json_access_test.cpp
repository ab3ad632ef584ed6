// Truth, text and numbers of JSON values, as stages rely on them.

#include "profiles/json_access.h"

#include <gtest/gtest.h>

#include "image/errors.h"
#include "input/failure_of.h"
#include "profiles/json_text.h"

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
  for (const auto& [text, value] : {std::pair{"None", "null"},
                                    {"True", "true"},
                                    {"120", "120"},
                                    {"6.0", "6.0"},
                                    {"6.5", "6.5"},
                                    {"[1]", " [1 ]"}})
    EXPECT_EQ(text, as_text(Json::parse(value)));
}

TEST(JsonAccess, Numbers) {
  const auto failure = [](const Json& value) {
    return testing_files::failure_of([&] { as_number(value, "k"); });
  };
  EXPECT_EQ(1.0, as_number(Json(true), "k"));
  EXPECT_EQ(30.0, as_number(Json("30"), "k"));
  EXPECT_EQ(-0.5, as_number(Json("-.5"), "k"));
  EXPECT_EQ(2e3, as_number(Json("+2e3"), "k"));
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
  EXPECT_EQ("d", get_text_or(map, "nil", "d"));
  EXPECT_EQ("d", get_text_or(map, "empty", "d"));
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

}  // namespace
}  // namespace morva
