#include "schema_command.h"

#include <string>

#include "console.h"
#include "option_table.h"

namespace morva::host {
namespace {

using OrderedJson = nlohmann::ordered_json;

const char* type_of_default(const nlohmann::json& value) {
  if (value.is_boolean()) return "boolean";
  return value.is_number() ? "number" : "string";
}

// Null for an option that is told nothing of. One that is null where it is not given may be null.
OrderedJson types_of(const OptionEntry& option) {
  const bool null_at_first = option.has_default() && option.default_value.is_null();
  if (option.type.is_string() && null_at_first) return {option.type, "null"};
  if (!option.type.is_null()) return option.type;
  return option.has_default() && !null_at_first ? type_of_default(option.default_value)
                                                : OrderedJson();
}

OrderedJson property(const OptionEntry& option) {
  OrderedJson property = {{"description", option.meaning}};
  if (const OrderedJson types = types_of(option); !types.is_null()) property["type"] = types;
  if (option.has_default()) property["default"] = option.default_value;
  return property;
}

}  // namespace

void run(const SchemaRequest&) {
  OrderedJson properties = OrderedJson::object();
  for (const OptionEntry& option : option_table()) properties[option.key] = property(option);
  print_json({{"$schema", "https://json-schema.org/draft/2020-12/schema"},
              {"title", "Options of a render"},
              {"type", "object"},
              {"properties", properties},
              {"additionalProperties", false}});
}

}  // namespace morva::host
