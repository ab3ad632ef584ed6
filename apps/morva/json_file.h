// JSON that a user wrote, in files and on the command line.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace morva::host {

// The value, or a discarded one and `complaint` for a text that is not JSON. Throws where it is
// nested deeper than any setting.
nlohmann::json parse_json(const std::string& text, std::string& complaint);

// The object in a file; `what` names it in failures: "options file".
nlohmann::json json_object_in(const std::string& file, const std::string& what);

}  // namespace morva::host
