#include "byte_file.h"

#include <cerrno>
#include <cstring>
#include <string>

#include "host_error.h"

namespace morva::host {
namespace {

[[noreturn]] void fail() {
  throw HostError(MORVA_FAILED, std::string("cannot write the output: ") + std::strerror(errno));
}

}  // namespace

ByteFile::ByteFile(const std::filesystem::path& file)
    : stream_(std::fopen(file.string().c_str(), "wb")) {
  if (stream_ == nullptr) fail();
}

ByteFile::~ByteFile() {
  if (stream_ != nullptr) std::fclose(stream_);
}

void ByteFile::close() {
  std::FILE* const stream = stream_;
  stream_ = nullptr;
  if (std::fclose(stream) != 0) fail();
}

}  // namespace morva::host
