// What a folder holds.
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

namespace morva::host {

// Its ordinary files, in no order; nothing when it cannot be read to its end.
std::optional<std::vector<std::filesystem::path>> files_in(const std::filesystem::path& folder);

}  // namespace morva::host
