// A shelf of filters in a temporary directory, as a store finds them.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "profiles/store.h"

namespace morva {

class FilterShelf {
 public:
  FilterShelf()
      : root_(std::filesystem::temp_directory_path() /
              ("morva-filters-" + std::to_string(getpid()) + "-" + std::to_string(count_++))) {
    std::filesystem::create_directories(root_ / "filters");
  }
  ~FilterShelf() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
  FilterShelf(const FilterShelf&) = delete;
  FilterShelf& operator=(const FilterShelf&) = delete;

  void put(const std::string& name, const std::string& json) const {
    std::ofstream(root_ / "filters" / (name + ".json")) << json;
  }
  ProfileStore store() const { return ProfileStore(root_); }

 private:
  inline static int count_ = 0;
  std::filesystem::path root_;
};

}  // namespace morva
