#include "exr_header.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <string>

#include "host_error.h"

namespace morva::host {
namespace {

constexpr uint64_t kMostBytes = uint64_t{1} << 24;  // of the whole head
constexpr uint32_t kSeveralParts = 0x1000;          // a bit of the version

struct Head {
  std::ifstream in;
  uint64_t left;  // bytes that it may still have
};

void take(Head& head, uint64_t bytes) {
  if (bytes > head.left)
    throw HostError(MORVA_FAILED, "the EXR's header claims " + std::to_string(bytes) +
                                      " bytes where " + std::to_string(head.left) +
                                      " are left to it");
  head.left -= bytes;
}

uint32_t read_number(Head& head) {
  take(head, 4);
  std::array<char, 4> bytes{};
  head.in.read(bytes.data(), bytes.size());
  uint32_t number = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i)
    number |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  return number;
}

// Up to its NUL.
std::string read_name(Head& head) {
  std::string name;
  for (;;) {
    take(head, 1);
    const int letter = head.in.get();
    if (letter <= 0) return name;
    name += static_cast<char>(letter);
  }
}

// Name, type, length, value. False at the end of a part's attributes, which is an empty name.
bool pass_attribute(Head& head) {
  if (read_name(head).empty()) return false;
  read_name(head);
  const uint32_t length = read_number(head);
  take(head, length);
  head.in.seekg(length, std::ios::cur);
  return true;
}

bool pass_part(Head& head) {
  if (!pass_attribute(head)) return false;
  while (pass_attribute(head)) continue;
  return true;
}

}  // namespace

void check_exr_header(const std::filesystem::path& file) {
  std::error_code error;
  const uint64_t size = std::filesystem::file_size(file, error);
  Head head{std::ifstream(file, std::ios::binary), error ? 0 : std::min(size, kMostBytes)};
  read_number(head);  // what every EXR begins with
  const bool several_parts = (read_number(head) & kSeveralParts) != 0;
  while (pass_part(head) && several_parts) continue;  // behind the last part stands an empty one
}

}  // namespace morva::host
