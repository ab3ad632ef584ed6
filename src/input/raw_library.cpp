#include "input/raw_library.h"

#include <cstddef>
#include <cstdio>
// jpeglib.h needs FILE and size_t declared before it.
#include <jpeglib.h>

#include <new>

#include "input/jpeg_decoder.h"

// The OpenMP interface, declared here because its header comes with one compiler's own runtime: the
// one that the raw library is linked with, whichever compiler builds this file.
extern "C" {
int omp_get_max_threads(void);
void omp_set_num_threads(int count);
}

namespace morva {
namespace {

// Ones, because the decoders look for the next one behind a run of zeros of any length.
constexpr std::uint8_t kBehindTheEnd = 0xFF;

class GuardedReads {
 public:
  explicit GuardedReads(RawStream& stream) : stream_(stream) {
    stream_.guarded = true;
    stream_.bytes_short = 0;
  }
  ~GuardedReads() { stream_.guarded = false; }
  GuardedReads(const GuardedReads&) = delete;
  GuardedReads& operator=(const GuardedReads&) = delete;

  // Throws the library's own exception when more than `allowed` bytes were short.
  void check(std::int64_t allowed) const {
    if (stream_.bytes_short > allowed) {
      throw LIBRAW_EXCEPTION_IO_EOF;
    }
  }

 private:
  RawStream& stream_;
};

// Ends a JPEG inside a raw file where it asks for more passes or more memory than any camera's: its
// size is its own, whatever the raw file says. The record lives and dies with the decoder.
void limit_jpeg(jpeg_decompress_struct& jpeg) {
  constexpr long kMaxCoefficientBytes = 1L << 30;
  jpeg.mem->max_memory_to_use = kMaxCoefficientBytes;
  void* record = jpeg.mem->alloc_small(reinterpret_cast<j_common_ptr>(&jpeg), JPOOL_PERMANENT,
                                       sizeof(jpeg_progress_mgr));
  jpeg.progress = new (record) jpeg_progress_mgr{};
  jpeg.progress->progress_monitor = [](j_common_ptr decoder) {
    if (reinterpret_cast<j_decompress_ptr>(decoder)->input_scan_number > kMaxJpegScans)
      decoder->err->error_exit(decoder);
  };
}

// The parameter has moved to a record of its own in later versions.
template <class Data>
void set_sensor_memory(Data& data, std::uint32_t megabytes) {
  if constexpr (requires { data.rawparams.max_raw_memory_mb; }) {
    data.rawparams.max_raw_memory_mb = megabytes;
  } else {
    data.params.max_raw_memory_mb = megabytes;
  }
}

}  // namespace

// The library only reads the block, though it asks for one that could be written.
RawStream::RawStream(std::span<const std::uint8_t> file)
    : LibRaw_buffer_datastream(const_cast<std::uint8_t*>(file.data()), file.size()) {}

int RawStream::read(void* out, size_t size, size_t count) {
  const int done = LibRaw_buffer_datastream::read(out, size, count);
  if (!guarded || done > 0) {
    return done;
  }
  // Asked for nothing when a block's own length is used up; the buffer holds 64 KiB all the same.
  *static_cast<std::uint8_t*>(out) = kBehindTheEnd;
  ++bytes_short;
  return 1;
}

void RawStream::leave_jpeg(jpeg_common_struct* decoder) {
  const RawStream& stream = *static_cast<const RawStream*>(decoder->client_data);
  jpeg_destroy(decoder);
  stream.own_jpeg_exit_(decoder);
}

int RawStream::jpeg_src(void* decoder) {
  jpeg_decompress_struct& jpeg = *static_cast<jpeg_decompress_struct*>(decoder);
  if (jpeg.err->error_exit != leave_jpeg) {
    jpeg.client_data = this;
    own_jpeg_exit_ = jpeg.err->error_exit;
    jpeg.err->error_exit = leave_jpeg;
    jpeg.err->output_message = [](j_common_ptr) {};
    limit_jpeg(jpeg);
  }
  return LibRaw_buffer_datastream::jpeg_src(decoder);
}

// Without callbacks for damaged data and memory: the library's own print what they are told.
RawLibrary::RawLibrary()
    : LibRaw(LIBRAW_OPIONS_NO_MEMERR_CALLBACK | LIBRAW_OPIONS_NO_DATAERR_CALLBACK) {}

RawLibrary::~RawLibrary() {
  recycle();  // while the stream is there
}

int RawLibrary::open(std::span<const std::uint8_t> file) {
  stream_ = std::make_unique<RawStream>(file);
  return file.empty() ? LIBRAW_IO_ERROR : open_datastream(stream_.get());
}

void RawLibrary::limit_sensor_memory(std::uint32_t megabytes) {
  set_sensor_memory(imgdata, megabytes);
}

void RawLibrary::fuji_decode_loop(const fuji_compressed_params* common, int blocks, INT64* offsets,
                                  unsigned* sizes) {
  // A block's last code may reach one byte behind its data.
  constexpr std::int64_t kOverhang = 1;
  for (int block = 0; block < blocks; ++block) {
    const GuardedReads guard(*stream_);
    fuji_decode_strip(common, block, offsets[block], sizes[block]);
    guard.check(kOverhang);
  }
}

void RawLibrary::crxLoadDecodeLoop(void* image, int planes) {
  for (int plane = 0; plane < planes; ++plane) {
    const GuardedReads guard(*stream_);
    const int failure = crxDecodePlane(image, static_cast<std::uint32_t>(plane));
    guard.check(0);
    if (failure != 0) {
      derror();
    }
  }
}

void RawLibrary::crxLoadFinalizeLoopE3(void* image, int lines) {
  for (int line = 0; line < lines; ++line) {
    crxConvertPlaneLineDf(image, line);
  }
}

SingleThread::SingleThread() : before_(omp_get_max_threads()) {
  omp_set_num_threads(1);
}

SingleThread::~SingleThread() {
  omp_set_num_threads(before_);
}

}  // namespace morva
