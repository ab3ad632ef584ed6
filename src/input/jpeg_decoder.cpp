#include "input/jpeg_decoder.h"

#include <csetjmp>
#include <cstdio>
// jpeglib.h needs FILE and size_t declared before it, and jerror.h needs jpeglib.h.
#include <jpeglib.h>

#include <jerror.h>

#include <algorithm>
#include <new>
#include <string_view>
#include <vector>

#include "input/imaging_error.h"

namespace morva {
namespace {

// The library reports failure by a jump. The functions between setjmp and the jump hold nothing
// with a destructor: all that they need stands here.
struct JpegReader {
  jpeg_decompress_struct state{};
  jpeg_error_mgr errors{};
  jpeg_progress_mgr progress{};
  std::jmp_buf escape{};
  int failure = 0;  // the library's message code

  JpegReader() = default;
  JpegReader(const JpegReader&) = delete;
  JpegReader& operator=(const JpegReader&) = delete;
  ~JpegReader() { jpeg_destroy_decompress(&state); }
};

[[noreturn]] void leave(j_common_ptr state) {
  JpegReader* reader = static_cast<JpegReader*>(state->client_data);
  reader->failure = state->err->msg_code;
  std::longjmp(reader->escape, 1);
}

// Warnings that mean lost pixels. Others (stray bytes between segments, an odd revision number) are
// common in sound files.
bool loses_pixels(int warning) {
  return warning == JWRN_JPEG_EOF || warning == JWRN_HIT_MARKER || warning == JWRN_HUFF_BAD_CODE ||
         warning == JWRN_ARITH_BAD_CODE || warning == JWRN_MUST_RESYNC;
}

void on_message(j_common_ptr state, int level) {
  if (level < 0 && loses_pixels(state->err->msg_code)) {
    leave(state);
  }
}

void on_print(j_common_ptr) {}

void on_progress(j_common_ptr state) {
  if (reinterpret_cast<j_decompress_ptr>(state)->input_scan_number > kMaxJpegScans) {
    leave(state);
  }
}

bool read_header(JpegReader& reader, std::span<const std::uint8_t> file) {
  reader.state.err = jpeg_std_error(&reader.errors);
  reader.errors.error_exit = leave;
  reader.errors.emit_message = on_message;
  reader.errors.output_message = on_print;
  reader.state.client_data = &reader;
  if (setjmp(reader.escape) != 0) {
    return false;
  }
  jpeg_create_decompress(&reader.state);
  reader.progress.progress_monitor = on_progress;
  reader.state.progress = &reader.progress;
  jpeg_mem_src(&reader.state, file.data(), static_cast<unsigned long>(file.size()));
  jpeg_read_header(&reader.state, TRUE);
  return true;
}

bool start(JpegReader& reader, PixelForm form) {
  if (setjmp(reader.escape) != 0) {
    return false;
  }
  // Printer's colours come as they are stored and are mixed here; all else is converted by the
  // library.
  const bool printed = reader.state.num_components == 4;
  const J_COLOR_SPACE shown = form == PixelForm::kBgra ? JCS_EXT_BGRA : JCS_RGB;
  reader.state.out_color_space = printed ? JCS_CMYK : shown;
  // The exact integer transform: the library's vector code gives the same bits as its plain code.
  reader.state.dct_method = JDCT_ISLOW;
  jpeg_start_decompress(&reader.state);
  return true;
}

bool read_row(JpegReader& reader, std::uint8_t* row) {
  if (setjmp(reader.escape) != 0) {
    return false;
  }
  JSAMPROW rows[1] = {row};
  jpeg_read_scanlines(&reader.state, rows, 1);
  return true;
}

bool finish(JpegReader& reader) {
  if (setjmp(reader.escape) != 0) {
    return false;
  }
  jpeg_finish_decompress(&reader.state);
  return true;
}

[[noreturn]] void fail(const JpegReader& reader, ImagingStep step, ImagingCode code) {
  switch (reader.failure) {
    case JERR_OUT_OF_MEMORY:
      throw std::bad_alloc();
    case JERR_BAD_PRECISION:
    case JERR_CONVERSION_NOTIMPL:
    case JERR_SOF_UNSUPPORTED:
    case JERR_ARITH_NOTIMPL:
      fail_imaging(ImagingStep::kConvert, ImagingCode::kUnsupportedPixelFormat);
    default:
      fail_imaging(step, code);
  }
}

std::uint8_t product(int a, int b) {
  return static_cast<std::uint8_t>((a * b + 127) / 255);
}

// Ink to light without a press profile: each ink lets its complement through and black darkens all
// three. Publishing programs, known by their APP14 marker, store the complement already.
void mix_inks(const std::uint8_t* cmyk, std::size_t pixels, bool complemented, PixelForm form,
              std::uint8_t* out) {
  const int flip = complemented ? 0 : 255;
  for (std::size_t i = 0; i < pixels; ++i, cmyk += 4) {
    const int light = cmyk[3] ^ flip;
    out = put_pixel(out, form, product(cmyk[0] ^ flip, light), product(cmyk[1] ^ flip, light),
                    product(cmyk[2] ^ flip, light));
  }
}

void read_rows(JpegReader& reader, Pixels8& pixels) {
  const bool printed = reader.state.out_color_space == JCS_CMYK;
  std::vector<std::uint8_t> cmyk(printed ? static_cast<std::size_t>(pixels.w) * 4 : 0);
  for (std::size_t y = 0; y < static_cast<std::size_t>(pixels.h); ++y) {
    if (!read_row(reader, printed ? cmyk.data() : pixels.row(y))) {
      fail(reader, ImagingStep::kPixels, ImagingCode::kBadImage);
    }
    if (printed) {
      mix_inks(cmyk.data(), static_cast<std::size_t>(pixels.w),
               reader.state.saw_Adobe_marker == TRUE, pixels.form, pixels.row(y));
    }
  }
}

// The first marker at or after `offset`, which is moved behind it; 0 at the end of the file or when
// the `steps` allowed for the search are spent. Any number of 0xFF may fill the gap.
std::uint8_t next_marker(const ByteSource& source, std::uint64_t& offset, int& steps) {
  std::uint8_t pair[2] = {};
  while (steps-- > 0 && read_exactly(source, offset, pair, 2)) {
    ++offset;
    if (pair[0] == 0xFF && pair[1] != 0xFF && pair[1] != 0) {
      ++offset;
      return pair[1];
    }
  }
  return 0;
}

bool is_frame_marker(std::uint8_t marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

std::uint64_t big16(const std::uint8_t* bytes) {
  return static_cast<std::uint64_t>(bytes[0] << 8 | bytes[1]);
}

bool is_exif(const std::vector<std::uint8_t>& segment) {
  using namespace std::string_view_literals;
  const std::string_view text(reinterpret_cast<const char*>(segment.data()), segment.size());
  return text.starts_with("Exif\0\0"sv);
}

}  // namespace

PictureHeader read_jpeg_header(const ByteSource& source) {
  PictureHeader header;
  bool exif_seen = false;
  std::uint64_t offset = 2;
  for (int steps = kMaxSegments; steps > 0;) {
    const std::uint8_t marker = next_marker(source, offset, steps);
    const bool standalone = marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8);
    if (standalone) {
      continue;
    }
    std::uint8_t segment[7] = {};  // length; and of a frame also precision, height, width
    const bool pictures_begin = marker == 0 || marker == 0xD9 || marker == 0xDA;
    if (pictures_begin || !read_exactly(source, offset, segment, 2) || big16(segment) < 2) {
      break;
    }
    const std::uint64_t length = big16(segment);
    if (is_frame_marker(marker) && header.w == 0 && read_exactly(source, offset, segment, 7)) {
      header.h = big16(segment + 3);
      header.w = big16(segment + 5);
    } else if (marker == 0xE1 && !exif_seen) {
      const std::vector<std::uint8_t> block = read_bytes(source, offset + 2, length - 2);
      exif_seen = is_exif(block);
      if (exif_seen) {
        header.metadata = read_exif(block);
      }
    }
    offset += length;
  }
  if (header.w == 0 || header.h == 0) {
    fail_imaging(ImagingStep::kFrame, ImagingCode::kBadHeader);
  }
  return header;
}

Pixels8 decode_jpeg(std::span<const std::uint8_t> file, PixelForm form) {
  JpegReader reader;
  if (!read_header(reader, file)) {
    fail(reader, ImagingStep::kFrame, ImagingCode::kBadHeader);
  }
  Pixels8 pixels = make_pixels(reader.state.image_width, reader.state.image_height, form);
  if (!start(reader, form)) {
    fail(reader, ImagingStep::kPixels, ImagingCode::kBadImage);
  }
  read_rows(reader, pixels);
  if (!finish(reader)) {
    fail(reader, ImagingStep::kPixels, ImagingCode::kBadImage);
  }
  return pixels;
}

}  // namespace morva
