#include "output_file.h"

#include <utility>

#include "host_error.h"
#include "operating_system.h"
#include "standard_streams.h"

namespace morva::host {
namespace {

namespace fs = std::filesystem;

fs::path folder_of(const fs::path& file) {
  return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

[[noreturn]] void refuse_existing(const fs::path& target) {
  throw HostError(MORVA_BAD_ARGUMENT,
                  "output exists: " + target.string() + " (--force writes over it)");
}

void check_folder(const fs::path& folder) {
  std::error_code error;
  if (!fs::is_directory(folder, error)) {
    throw HostError(MORVA_BAD_ARGUMENT, "no such folder for the output: " + folder.string());
  }
  if (!folder_is_writable(folder)) {
    throw HostError(MORVA_BAD_ARGUMENT, "cannot write into the folder: " + folder.string());
  }
}

void check_target(const fs::path& target, bool replace) {
  std::error_code error;
  const fs::file_status status = fs::symlink_status(target, error);
  if (!fs::exists(status)) return;
  if (fs::is_directory(target, error)) {
    throw HostError(MORVA_BAD_ARGUMENT, "output is a folder: " + target.string());
  }
  if (!replace) refuse_existing(target);
  if (!fs::is_regular_file(status) && !fs::is_symlink(status)) {
    throw HostError(MORVA_BAD_ARGUMENT, "output is not an ordinary file: " + target.string());
  }
}

}  // namespace

fs::path place_of(const fs::path& name) {
  std::error_code error;
  return fs::weakly_canonical(fs::absolute(name, error), error);
}

bool same_place(const fs::path& one, const fs::path& other) {
  return place_of(one) == place_of(other);
}

void refuse_input_as_output(const std::string& input, const std::string& output) {
  if (input == kStandardStream || output == kStandardStream) return;
  std::error_code error;
  if (fs::exists(input, error) && same_place(input, output))
    throw HostError(MORVA_BAD_ARGUMENT,
                    "the output would take the place of the picture that it comes from: " + output);
}

OutputFile::OutputFile(fs::path target, bool replace)
    : target_(std::move(target)), replace_(replace) {
  if (target_ == kStandardStream) {
    if (stdout_is_terminal())
      throw HostError(MORVA_BAD_ARGUMENT, "standard output is a terminal, which takes no picture");
    return;
  }
  check_folder(folder_of(target_));
  check_target(target_, replace_);
}

const fs::path& OutputFile::create_temporary() {
  temporary_ = target_ == kStandardStream ? temporary_file_of_the_user()
                                          : TemporaryFile(folder_of(target_), Readers::as_usual);
  return temporary_.path();
}

void OutputFile::commit() {
  if (target_ == kStandardStream) return copy_to_standard_output(temporary_.path());
  const std::error_code error = move_into_place(temporary_.path(), target_, replace_);
  if (error == std::errc::file_exists) refuse_existing(target_);
  if (error) {
    throw HostError(MORVA_FAILED, "cannot write " + target_.string() + ": " + error.message());
  }
  temporary_.release();
}

}  // namespace morva::host
