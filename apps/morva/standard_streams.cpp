#include "standard_streams.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <span>

#include "byte_file.h"
#include "host_error.h"
#include "operating_system.h"
#include "temporary_file.h"
#include "waiting_streams.h"

namespace morva::host {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{1} << 16;

void read_whole_input(const std::filesystem::path& into) {
  ByteFile file(into);
  std::array<char, kBlockBytes> block;
  for (;;) {
    const std::optional<std::size_t> count = read_or_cancel(kStandardInput, block);
    if (!count) throw HostError(MORVA_BAD_ARGUMENT, "cannot read standard input");
    if (*count == 0) break;
    if (std::fwrite(block.data(), 1, *count, file.stream()) != *count)
      throw HostError(MORVA_FAILED, "cannot hold standard input: the disk of " +
                                        into.parent_path().string() + " is full");
  }
  file.close();
}

TemporaryFile held_input() {
  TemporaryFile held = temporary_file_of_the_user();
  read_whole_input(held.path());
  return held;
}

}  // namespace

std::string file_behind(const std::string& input) {
  if (input != kStandardStream) return input;
  static const TemporaryFile held = held_input();
  return held.path().string();
}

void copy_to_standard_output(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::array<char, kBlockBytes> block;
  bool written = true;
  do {
    in.read(block.data(), block.size());
    const auto count = static_cast<std::size_t>(in.gcount());
    written = write_or_cancel(kStandardOutput, std::span(block).first(count));
  } while (in && written);
  if (!written || !in.eof()) throw HostError(MORVA_FAILED, "cannot write to standard output");
}

}  // namespace morva::host
