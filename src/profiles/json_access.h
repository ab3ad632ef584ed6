// Reading options and profiles. A JSON value is read with the truth, text and number rules of a
// dynamic language's dictionary; stages rely on those rules, so every key goes through here.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace morva {

using Json = nlohmann::json;

// `map` may be any value; one that is not an object behaves as an empty object.
bool has(const Json& map, std::string_view key);                // present, whatever its value
const Json& get(const Json& map, std::string_view key);         // a shared null when missing
const Json& get_object(const Json& map, std::string_view key);  // a shared {} when not an object

// null is false; objects, arrays and strings are true when not empty; numbers when not zero.
bool truthy(const Json& value);

// true and false as 1 and 0, a number as itself, a string when it parses whole as a decimal number.
// Anything else throws OptionsError with `key` in its text.
double as_number(const Json& value, std::string_view key);

// null as "None", true as "True", 6.0 as "6.0"; objects and arrays as compact JSON.
std::string as_text(const Json& value);

bool get_bool(const Json& map, std::string_view key, bool fallback);
// A key that is present and null is an error here, not the fallback.
double get_number(const Json& map, std::string_view key, double fallback);
// Missing: `a` when not zero, else `b`. Present: its number when truthy, else `b`.
double get_number_or(const Json& map, std::string_view key, double a, double b);
std::string get_text(const Json& map, std::string_view key, std::string_view fallback);
// The fallback for every falsy value.
std::string get_text_or(const Json& map, std::string_view key, std::string_view fallback);
// Nothing when the value is null or missing.
std::optional<std::string> get_optional_text(const Json& map, std::string_view key);

}  // namespace morva
