#include "profiles/json_access.h"

#include <charconv>
#include <cmath>

#include "image/errors.h"

namespace morva {

namespace {

const Json& shared_null() {
  static const Json value;
  return value;
}

const Json& shared_empty_object() {
  static const Json value = Json::object();
  return value;
}

// Text of a value inside a message; bytes that are not UTF-8 are replaced rather than thrown at.
std::string dump(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// The whole of `text` as a decimal number; words such as "nan" and "inf" are not numbers here.
std::optional<double> parse_decimal(std::string_view text) {
  const bool has_sign = text.starts_with('+') || text.starts_with('-');
  const std::string_view unsigned_text = text.substr(has_sign ? 1 : 0);
  const bool decimal =
      !unsigned_text.empty() && (unsigned_text.front() == '.' ||
                                 (unsigned_text.front() >= '0' && unsigned_text.front() <= '9'));
  if (!decimal) return std::nullopt;
  double value = 0.0;
  const char* last = unsigned_text.data() + unsigned_text.size();
  const auto [end, error] = std::from_chars(unsigned_text.data(), last, value);
  if (error != std::errc() || end != last) return std::nullopt;
  return text.front() == '-' ? -value : value;
}

}  // namespace

const Json& get(const Json& map, std::string_view key) {
  if (!map.is_object()) return shared_null();
  const auto it = map.find(key);
  return it == map.end() ? shared_null() : *it;
}

bool has(const Json& map, std::string_view key) {
  return map.is_object() && map.find(key) != map.end();
}

const Json& get_object(const Json& map, std::string_view key) {
  const Json& value = get(map, key);
  return value.is_object() ? value : shared_empty_object();
}

bool truthy(const Json& value) {
  switch (value.type()) {
    case Json::value_t::null:
      return false;
    case Json::value_t::object:
    case Json::value_t::array:
      return !value.empty();
    case Json::value_t::string:
      return !value.get_ref<const std::string&>().empty();
    case Json::value_t::boolean:
      return value.get<bool>();
    case Json::value_t::number_integer:
    case Json::value_t::number_unsigned:
      return value.get<std::int64_t>() != 0;
    case Json::value_t::number_float:
      return value.get<double>() != 0.0;
    default:
      return true;
  }
}

double as_number(const Json& value, std::string_view key) {
  if (value.is_boolean()) return value.get<bool>() ? 1.0 : 0.0;
  if (value.is_number()) return value.get<double>();
  const std::string quoted = "«" + std::string(key) + "»: ";
  if (value.is_string()) {
    const auto& text = value.get_ref<const std::string&>();
    if (const auto number = parse_decimal(text)) return *number;
    throw OptionsError(quoted + "не число — " + text);
  }
  throw OptionsError(quoted + "ожидалось число, пришло " +
                     (value.is_null() ? std::string("null") : dump(value)));
}

std::string as_text(const Json& value) {
  if (value.is_null()) return "None";
  if (value.is_string()) return value.get<std::string>();
  if (value.is_boolean()) return value.get<bool>() ? "True" : "False";
  if (value.is_number_float()) {
    const double number = value.get<double>();
    if (number == std::trunc(number) && std::fabs(number) < 1e15)
      return std::to_string(static_cast<std::int64_t>(number)) + ".0";
  }
  return dump(value);
}

bool get_bool(const Json& map, std::string_view key, bool fallback) {
  return has(map, key) ? truthy(get(map, key)) : fallback;
}

double get_number(const Json& map, std::string_view key, double fallback) {
  return has(map, key) ? as_number(get(map, key), key) : fallback;
}

double get_number_or(const Json& map, std::string_view key, double a, double b) {
  if (!has(map, key)) return a != 0.0 ? a : b;
  const Json& value = get(map, key);
  return truthy(value) ? as_number(value, key) : b;
}

std::string get_text(const Json& map, std::string_view key, std::string_view fallback) {
  return has(map, key) ? as_text(get(map, key)) : std::string(fallback);
}

std::string get_text_or(const Json& map, std::string_view key, std::string_view fallback) {
  const Json& value = get(map, key);
  return truthy(value) ? as_text(value) : std::string(fallback);
}

std::optional<std::string> get_optional_text(const Json& map, std::string_view key) {
  const Json& value = get(map, key);
  if (value.is_null()) return std::nullopt;
  return as_text(value);
}

}  // namespace morva
