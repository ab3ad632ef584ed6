// Bytes at an offset, from a file or from memory. Headers are read through it piece by piece, so
// that asking a large file for its size and date touches a few kilobytes of it. The only place of
// the input that knows how the operating system names and opens files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace morva {

struct ByteSource {
  std::uint64_t size = 0;
  // Copies up to n bytes from `offset` and returns how many there were. Does not throw.
  std::function<std::size_t(std::uint64_t offset, void* out, std::size_t n)> read;
};

// The file at a UTF-8 path. Throws the imaging error at "decoder": file not found, or access denied
// for what is not a plain file or cannot be opened.
ByteSource file_source(const std::string& path);

// `bytes` must outlive the source.
ByteSource memory_source(std::span<const std::uint8_t> bytes);

// n bytes from `offset`, or fewer where the source ends. The size is checked against the source
// before memory is taken, so n may come from a file.
std::vector<std::uint8_t> read_bytes(const ByteSource& source, std::uint64_t offset,
                                     std::uint64_t n);

// The whole source. Throws the imaging error "stream read" at "decoder" when it is shorter than it
// says or longer than any picture.
std::vector<std::uint8_t> read_all(const ByteSource& source);

// The whole file at a UTF-8 path, for the decoders that take nothing less. Throws
// std::runtime_error "cannot open " + path for what is not a plain file or cannot be opened,
// "cannot read " + path for what cannot be read to its end or is longer than any picture.
std::vector<std::uint8_t> read_file(const std::string& path);

// The first `n` bytes at `offset`, all of them or false.
bool read_exactly(const ByteSource& source, std::uint64_t offset, void* out, std::size_t n);

}  // namespace morva
