#include "input/tiff_stream.h"

#include <cstdarg>
#include <new>

#include "input/imaging_error.h"

namespace morva {
namespace {

TiffStream& stream_of(thandle_t handle) {
  return *static_cast<TiffStream*>(handle);
}

tmsize_t on_read(thandle_t handle, void* out, tmsize_t n) {
  TiffStream& stream = stream_of(handle);
  const std::size_t count = stream.source.read(stream.position, out, static_cast<std::size_t>(n));
  stream.position += count;
  return static_cast<tmsize_t>(count);
}

tmsize_t on_write(thandle_t, void*, tmsize_t) {
  return 0;
}

toff_t on_seek(thandle_t handle, toff_t offset, int whence) {
  TiffStream& stream = stream_of(handle);
  const std::uint64_t from = whence == SEEK_SET   ? 0
                             : whence == SEEK_CUR ? stream.position
                                                  : stream.source.size;
  return stream.position = from + offset;
}

int on_close(thandle_t) {
  return 0;
}

toff_t on_size(thandle_t handle) {
  return stream_of(handle).source.size;
}

// Known and kept silent.
int on_message(TIFF*, void*, const char*, const char*, va_list) {
  return 1;
}

}  // namespace

TiffHandle open_tiff(TiffStream& stream) {
  const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(
      TIFFOpenOptionsAlloc(), TIFFOpenOptionsFree);
  if (!options) throw std::bad_alloc();
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMaxTiffAllocation);
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), on_message, nullptr);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), on_message, nullptr);
  // "m": read, not mapped. "O": strip tables are fetched in the parts that are needed.
  TiffHandle tiff(TIFFClientOpenExt("", "rmO", &stream, on_read, on_write, on_seek, on_close,
                                    on_size, nullptr, nullptr, options.get()));
  if (!tiff) {
    fail_imaging(ImagingStep::kFrame, ImagingCode::kBadHeader);
  }
  return tiff;
}

}  // namespace morva
