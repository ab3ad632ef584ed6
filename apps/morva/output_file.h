// A file that appears whole or not at all: written under a temporary name in its own folder and
// renamed at the end. Whatever ends the writing early takes the temporary file with it. Standard
// output, "-", gets the whole file in the end.
#pragma once

#include <filesystem>
#include <string>

#include "temporary_file.h"

namespace morva::host {

// Where a name leads, be there a file or not, and whether two lead to one place.
std::filesystem::path place_of(const std::filesystem::path& name);
bool same_place(const std::filesystem::path& one, const std::filesystem::path& other);

// Throws where `output` would take the place of `input`, a picture that is rendered from.
void refuse_input_as_output(const std::string& input, const std::string& output);

class OutputFile {
 public:
  // Checks before any work is done that the picture can be written: the folder exists and is
  // writable, the name is free or, with `replace`, names a regular file; standard output is no
  // terminal. Creates nothing.
  OutputFile(std::filesystem::path target, bool replace);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Creates the temporary file, empty, and returns its path.
  const std::filesystem::path& create_temporary();

  // Gives the finished temporary file its name, or standard output its bytes.
  void commit();

 private:
  std::filesystem::path target_;
  TemporaryFile temporary_;
  bool replace_;
};

}  // namespace morva::host
