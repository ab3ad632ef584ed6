#include "list_command.h"

#include <algorithm>

#include "console.h"
#include "profile_folder.h"

namespace morva::host {
namespace {

void print_as_json(const std::vector<ProfileEntry>& profiles) {
  nlohmann::ordered_json array = nlohmann::ordered_json::array();
  for (const ProfileEntry& profile : profiles) {
    array.push_back({{"name", profile.name}, {"description", profile.description}});
  }
  print_json(array);
}

void print_as_lines(const std::vector<ProfileEntry>& profiles) {
  std::size_t widest = 0;
  for (const ProfileEntry& profile : profiles) widest = std::max(widest, profile.name.size());
  for (const ProfileEntry& profile : profiles) {
    if (profile.description.empty()) {
      print_line(profile.name);
      continue;
    }
    const std::string gap(widest - profile.name.size() + 2, ' ');
    print_line(profile.name + gap + profile.description);
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
