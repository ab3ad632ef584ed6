#include "nearest_names.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace morva::host {
namespace {

constexpr std::size_t kMostNames = 3;

// Levenshtein's distance: letters put in, left out or changed.
std::size_t slips(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t before = std::exchange(row[0], i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t changed = before + (a[i - 1] != b[j - 1] ? 1 : 0);
      before = std::exchange(row[j], std::min({changed, row[j] + 1, row[j - 1] + 1}));
    }
  }
  return row.back();
}

bool holds(const std::string& name, const std::string& word) {
  return word.size() >= 3 && name.find(word) != std::string::npos;
}

std::vector<std::string> nearest_names(const std::string& word,
                                       const std::vector<std::string>& names) {
  const std::size_t most = std::max<std::size_t>(1, std::min<std::size_t>(word.size(), 64) / 3);
  std::vector<std::pair<std::size_t, std::string>> near;
  for (const std::string& name : names) {
    const std::size_t distance = word.size() > 64 ? most + 1 : slips(word, name);
    if (holds(name, word))
      near.emplace_back(std::min(distance, most), name);
    else if (distance <= most)
      near.emplace_back(distance, name);
  }
  std::sort(near.begin(), near.end());
  near.resize(std::min(near.size(), kMostNames));
  std::vector<std::string> nearest;
  for (const auto& [distance, name] : near) nearest.push_back(name);
  return nearest;
}

}  // namespace

std::string suggestion(const std::string& word, const std::vector<std::string>& names) {
  std::string row;
  for (const std::string& name : nearest_names(word, names))
    row += (row.empty() ? "" : ", ") + name;
  return row.empty() ? "" : "did you mean " + row + "? ";
}

}  // namespace morva::host
