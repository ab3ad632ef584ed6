// What somebody may have meant.
#pragma once

#include <string>
#include <vector>

namespace morva::host {

// "did you mean push, pull? ": the names that are a few slips of the hand away from `word`, or hold
// it; nearest first, at most three. Nothing where there are none.
std::string suggestion(const std::string& word, const std::vector<std::string>& names);

}  // namespace morva::host
