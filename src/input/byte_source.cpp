#include "input/byte_source.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <system_error>

#include "input/imaging_error.h"

namespace morva {
namespace {

std::filesystem::path path_from_utf8(const std::string& path) {
  return std::filesystem::path(
      std::u8string(reinterpret_cast<const char8_t*>(path.data()), path.size()));
}

// The longest file that is read whole: 4 GiB, ten times the largest camera raw.
constexpr std::uint64_t kMaxFileBytes = std::uint64_t{1} << 32;

// Nothing and a reason when there is no plain file to be opened.
std::optional<ByteSource> open_plain_file(const std::string& path, ImagingCode& reason) {
  const std::filesystem::path name = path_from_utf8(path);
  std::error_code problem;
  const std::filesystem::file_status status = std::filesystem::status(name, problem);
  if (status.type() == std::filesystem::file_type::not_found) {
    reason = ImagingCode::kFileNotFound;
    return std::nullopt;
  }
  reason = ImagingCode::kAccessDenied;
  // Opening a pipe would wait for its writer and a device may never end: only plain files are read.
  if (status.type() != std::filesystem::file_type::regular) {
    return std::nullopt;
  }
  auto file = std::make_shared<std::ifstream>(name, std::ios::binary);
  const std::uintmax_t size = std::filesystem::file_size(name, problem);
  if (!*file || problem) {
    return std::nullopt;
  }
  return ByteSource{size, [file](std::uint64_t offset, void* out, std::size_t n) -> std::size_t {
                      file->clear();
                      file->seekg(static_cast<std::streamoff>(offset));
                      if (!*file) {
                        return 0;
                      }
                      file->read(static_cast<char*>(out), static_cast<std::streamsize>(n));
                      return static_cast<std::size_t>(file->gcount());
                    }};
}

}  // namespace

ByteSource file_source(const std::string& path) {
  ImagingCode reason{};
  std::optional<ByteSource> source = open_plain_file(path, reason);
  if (!source) {
    fail_imaging(ImagingStep::kDecoder, reason);
  }
  return *std::move(source);
}

ByteSource memory_source(std::span<const std::uint8_t> bytes) {
  return ByteSource{bytes.size(),
                    [bytes](std::uint64_t offset, void* out, std::size_t n) -> std::size_t {
                      if (offset >= bytes.size()) {
                        return 0;
                      }
                      const std::size_t start = static_cast<std::size_t>(offset);
                      const std::size_t count = std::min(n, bytes.size() - start);
                      if (count > 0) {
                        std::memcpy(out, bytes.data() + start, count);
                      }
                      return count;
                    }};
}

std::vector<std::uint8_t> read_bytes(const ByteSource& source, std::uint64_t offset,
                                     std::uint64_t n) {
  const std::uint64_t available = source.size - std::min(source.size, offset);
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(std::min(n, available)));
  bytes.resize(source.read(offset, bytes.data(), bytes.size()));
  return bytes;
}

std::vector<std::uint8_t> read_all(const ByteSource& source) {
  std::vector<std::uint8_t> bytes;
  if (source.size <= kMaxFileBytes) bytes = read_bytes(source, 0, source.size);
  if (bytes.size() != source.size) {
    fail_imaging(ImagingStep::kDecoder, ImagingCode::kStreamRead);
  }
  return bytes;
}

std::vector<std::uint8_t> read_file(const std::string& path) {
  ImagingCode reason{};
  const std::optional<ByteSource> source = open_plain_file(path, reason);
  if (!source) {
    throw std::runtime_error("cannot open " + path);
  }
  std::vector<std::uint8_t> bytes;
  if (source->size <= kMaxFileBytes) bytes = read_bytes(*source, 0, source->size);
  if (bytes.size() != source->size) {
    throw std::runtime_error("cannot read " + path);
  }
  return bytes;
}

bool read_exactly(const ByteSource& source, std::uint64_t offset, void* out, std::size_t n) {
  return source.read(offset, out, n) == n;
}

}  // namespace morva
