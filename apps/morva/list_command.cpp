#include "list_command.h"

#include <algorithm>

#include "console.h"
#include "profile_folder.h"
#include "terminal_text.h"

namespace morva::host {
namespace {

void print_as_json(const std::vector<ProfileEntry>& profiles) {
  nlohmann::ordered_json array = nlohmann::ordered_json::array();
  for (const ProfileEntry& profile : profiles) {
    array.push_back(
        {{"name", profile.name}, {"title", profile.title}, {"description", profile.description}});
  }
  print_json(array);
}

std::size_t column_of(const std::vector<ProfileEntry>& profiles, std::string ProfileEntry::*text) {
  std::size_t widest = 0;
  for (const ProfileEntry& profile : profiles) widest = std::max(widest, (profile.*text).size());
  return widest == 0 ? 0 : widest + 2;
}

void print_as_lines(const std::vector<ProfileEntry>& profiles) {
  const std::size_t names = column_of(profiles, &ProfileEntry::name);
  const std::size_t titles = column_of(profiles, &ProfileEntry::title);
  for (const ProfileEntry& profile : profiles) {
    std::string line = padded(profile.name, names);
    if (titles > 0) line += padded(profile.title, titles);
    line += profile.description;
    line.resize(line.find_last_not_of(' ') + 1);
    print_line(on_one_line(line));
  }
}

}  // namespace

void run(const ListRequest& request) {
  const std::vector<ProfileEntry> profiles = list_profiles(request.section);
  if (request.as_json) {
    print_as_json(profiles);
  } else {
    print_as_lines(profiles);
  }
}

}  // namespace morva::host
