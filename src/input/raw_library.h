// The raw library as the engine runs it: silent, on the caller's thread, and with damaged files
// ending in an error.
#pragma once

#include <libraw/libraw.h>

#include <cstdint>
#include <memory>
#include <span>

struct jpeg_common_struct;

namespace morva {

// A file in memory. While `guarded`, a read behind its end is answered with one byte of ones and
// counted in `bytes_short`, in place of the empty answer.
class RawStream : public LibRaw_buffer_datastream {
 public:
  explicit RawStream(std::span<const std::uint8_t> file);
  int read(void* out, size_t size, size_t count) override;
  // Some raw files hold JPEG. As its decoder is given its source it is also made silent, and made
  // to free its memory when it fails, which the library leaves undone.
  int jpeg_src(void* decoder) override;

  bool guarded = false;
  std::int64_t bytes_short = 0;

 private:
  static void leave_jpeg(jpeg_common_struct* decoder);

  void (*own_jpeg_exit_)(jpeg_common_struct*) = nullptr;
};

// The library shares its loops out among threads by OpenMP. Two things speak against that here: the
// engine starts no thread, and an exception may not leave such a loop, though the decoders below
// throw where a file is cut off; the host would be ended. They run as plain loops, by the library's
// own provision for other schedulers. Where they throw from inside a critical section, which is as
// fatal, the stream keeps them from it and the loop throws for them. SingleThread below holds the
// remaining loops, which throw nothing, to one thread.
//
// The object is about half a megabyte and belongs on the heap.
class RawLibrary : public LibRaw {
 public:
  RawLibrary();
  ~RawLibrary() override;
  RawLibrary(const RawLibrary&) = delete;
  RawLibrary& operator=(const RawLibrary&) = delete;

  // `file` must outlive the object. The result is the library's code.
  int open(std::span<const std::uint8_t> file);

  // Holds the memory for the sensor's counts to `megabytes` from the next unpack() on.
  void limit_sensor_memory(std::uint32_t megabytes);

 private:
  void fuji_decode_loop(const fuji_compressed_params* common, int blocks, INT64* offsets,
                        unsigned* sizes) override;
  void crxLoadDecodeLoop(void* image, int planes) override;
  void crxLoadFinalizeLoopE3(void* image, int lines) override;

  std::unique_ptr<RawStream> stream_;
};

// While it lives, OpenMP loops that this thread meets stay on it.
class SingleThread {
 public:
  SingleThread();
  ~SingleThread();
  SingleThread(const SingleThread&) = delete;
  SingleThread& operator=(const SingleThread&) = delete;

 private:
  int before_;
};

}  // namespace morva
