// What somebody may have meant.
#pragma once

#include <string>
#include <vector>

namespace morva::host {

// The names that are a few slips of the hand away from `word`, or hold it; nearest first, at most
// three.
std::vector<std::string> nearest_names(const std::string& word,
                                       const std::vector<std::string>& names);

}  // namespace morva::host
