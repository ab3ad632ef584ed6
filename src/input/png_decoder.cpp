#include "input/png_decoder.h"

#include <png.h>

#include <csetjmp>
#include <cstring>
#include <string_view>

#include "input/imaging_error.h"

namespace morva {
namespace {

constexpr std::uint64_t kSignatureBytes = 8;
constexpr std::uint64_t kChunkFrameBytes = 12;  // length, type and checksum around a chunk's data

// The library reports failure by a jump. The functions between setjmp and the jump hold nothing
// with a destructor: all that they need stands here.
struct PngReader {
  png_structp png = nullptr;
  png_infop info = nullptr;
  std::span<const std::uint8_t> unread;

  PngReader() = default;
  PngReader(const PngReader&) = delete;
  PngReader& operator=(const PngReader&) = delete;
  ~PngReader() { png_destroy_read_struct(&png, &info, nullptr); }
};

[[noreturn]] void on_error(png_structp png, png_const_charp) {
  png_longjmp(png, 1);
}

void on_warning(png_structp, png_const_charp) {}

void on_read(png_structp png, png_bytep out, png_size_t n) {
  PngReader* reader = static_cast<PngReader*>(png_get_io_ptr(png));
  if (n > reader->unread.size()) {
    png_error(png, "end of file");
  }
  std::memcpy(out, reader->unread.data(), n);
  reader->unread = reader->unread.subspan(n);
}

bool read_info(PngReader& reader) {
  reader.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, on_error, on_warning);
  if (!reader.png) {
    return false;
  }
  if (setjmp(png_jmpbuf(reader.png)) != 0) {
    return false;
  }
  reader.info = png_create_info_struct(reader.png);
  png_set_read_fn(reader.png, &reader, on_read);
  // The caller holds the size against its own limit. Chunks that do not change pixels (profiles and
  // texts, often compressed) are skipped unopened.
  png_set_user_limits(reader.png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
  png_set_keep_unknown_chunks(reader.png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
  png_read_info(reader.png, reader.info);
  return true;
}

bool read_pixels(PngReader& reader, Pixels8& pixels) {
  if (setjmp(png_jmpbuf(reader.png)) != 0) {
    return false;
  }
  png_set_expand(reader.png);
  png_set_scale_16(reader.png);
  png_set_gray_to_rgb(reader.png);
  if (pixels.form == PixelForm::kBgra) {
    png_set_bgr(reader.png);
    png_set_add_alpha(reader.png, 255, PNG_FILLER_AFTER);
  } else {
    png_set_strip_alpha(reader.png);
  }
  const int passes = png_set_interlace_handling(reader.png);
  png_read_update_info(reader.png, reader.info);
  if (png_get_rowbytes(reader.png, reader.info) != pixels.row_samples()) {
    png_error(reader.png, "not the form asked for");
  }
  for (int pass = 0; pass < passes; ++pass) {
    for (std::size_t y = 0; y < static_cast<std::size_t>(pixels.h); ++y) {
      png_read_row(reader.png, pixels.row(y), nullptr);
    }
  }
  png_read_end(reader.png, nullptr);  // fails where the file is cut off behind the pixels
  return true;
}

std::uint64_t big32(const std::uint8_t* bytes) {
  return png_get_uint_32(bytes);
}

bool is_chunk(const std::uint8_t* frame, std::string_view type) {
  return std::memcmp(frame + 4, type.data(), 4) == 0;
}

}  // namespace

PictureHeader read_png_header(const ByteSource& source) {
  PictureHeader header;
  std::uint64_t offset = kSignatureBytes;
  for (int i = 0; i < kMaxSegments; ++i) {
    std::uint8_t frame[16] = {};  // length, type; and of the first chunk width and height
    if (!read_exactly(source, offset, frame, 8) || is_chunk(frame, "IEND")) {
      break;
    }
    const std::uint64_t length = big32(frame);
    if (i == 0 && is_chunk(frame, "IHDR") && read_exactly(source, offset, frame, 16)) {
      header.w = big32(frame + 8);
      header.h = big32(frame + 12);
    } else if (is_chunk(frame, "eXIf")) {
      if (length <= kMaxExifBytes)
        header.metadata = read_exif(read_bytes(source, offset + 8, length));
      break;
    }
    offset += length + kChunkFrameBytes;
  }
  if (header.w == 0 || header.h == 0) {
    fail_imaging(ImagingStep::kFrame, ImagingCode::kBadHeader);
  }
  return header;
}

Pixels8 decode_png(std::span<const std::uint8_t> file, PixelForm form) {
  PngReader reader;
  reader.unread = file;
  if (!read_info(reader)) {
    fail_imaging(ImagingStep::kFrame, ImagingCode::kBadHeader);
  }
  Pixels8 pixels = make_pixels(png_get_image_width(reader.png, reader.info),
                               png_get_image_height(reader.png, reader.info), form);
  if (!read_pixels(reader, pixels)) {
    fail_imaging(ImagingStep::kPixels, ImagingCode::kBadImage);
  }
  return pixels;
}

}  // namespace morva
