// What differs from cell to cell of a contact sheet: a film, a lens, a paper, a preset or an
// option.
#pragma once

#include <string>
#include <vector>

#include "render_setting.h"

namespace morva::host {

struct Variation {
  std::string key;
  std::vector<std::string> values;
};

// From "key=a,b,c"; commas within brackets, braces and quotation marks belong to a value. For
// films, lenses, papers and presets "*" is all there are.
Variation variation_of(const std::string& text);

// Throws where a flag of `choice` would have the last word on what is varied.
void refuse_flag_of(const Variation& variation, const SettingChoice& choice);

void vary(SettingChoice& choice, const std::string& key, const std::string& value);

// "silver_400", "push 1"
std::string label_of(const std::string& key, const std::string& value);

}  // namespace morva::host
