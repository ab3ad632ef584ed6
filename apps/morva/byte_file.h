// A file open for writing that the C codecs write into; closed in every case.
#pragma once

#include <cstdio>
#include <filesystem>

namespace morva::host {

class ByteFile {
 public:
  explicit ByteFile(const std::filesystem::path& file);
  ~ByteFile();
  ByteFile(const ByteFile&) = delete;
  ByteFile& operator=(const ByteFile&) = delete;

  std::FILE* stream() const { return stream_; }

  // Flushes and closes; throws when the last bytes did not reach the disk.
  void close();

 private:
  std::FILE* stream_;
};

}  // namespace morva::host
