#include "input/webp_decoder.h"

#include <webp/decode.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>

#include "input/imaging_error.h"

namespace morva {
namespace {

// A span of the file.
struct Extent {
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
};

struct Chunks {
  Extent picture;  // the first coded picture with its chunk's head
  // The same from the chunk before it on, where that holds the alpha of a lossy picture.
  Extent with_alpha;
  Extent exif;
};

constexpr std::uint64_t kChunkHeadBytes = 8;  // type and size
constexpr std::uint64_t kFileHeadBytes = 12;  // "RIFF", size, "WEBP"
constexpr std::uint64_t kAnimationHeadBytes =
    16;  // place, size and duration before a frame's own chunks

struct ChunkHead {
  char type[4] = {};
  Extent data;

  bool is(std::string_view name) const { return std::memcmp(type, name.data(), 4) == 0; }
  std::uint64_t next() const { return data.offset + data.size + data.size % 2; }
};

std::uint64_t little32(const std::uint8_t* bytes) {
  return static_cast<std::uint64_t>(bytes[0]) | static_cast<std::uint64_t>(bytes[1]) << 8 |
         static_cast<std::uint64_t>(bytes[2]) << 16 | static_cast<std::uint64_t>(bytes[3]) << 24;
}

bool read_chunk_head(const ByteSource& source, std::uint64_t offset, ChunkHead& head) {
  std::uint8_t size[4] = {};
  if (!read_exactly(source, offset, head.type, 4) || !read_exactly(source, offset + 4, size, 4)) {
    return false;
  }
  head.data.offset = offset + kChunkHeadBytes;
  head.data.size = little32(size);
  return true;
}

// Walks the file's chunks; into an animation's frame it steps down, so that the frame's chunks
// follow.
Chunks find_chunks(const ByteSource& source) {
  Chunks found;
  ChunkHead head;
  std::uint64_t offset = kFileHeadBytes;
  std::uint64_t alpha = 0;
  for (int i = 0; i < kMaxSegments && read_chunk_head(source, offset, head); ++i) {
    const std::uint64_t begin = offset;
    offset = head.next();
    if (found.picture.size == 0 && (head.is("VP8 ") || head.is("VP8L"))) {
      const std::uint64_t end = head.data.offset + head.data.size;
      found.picture = {begin, end - begin};
      found.with_alpha = alpha > 0 ? Extent{alpha, end - alpha} : found.picture;
    } else if (found.picture.size == 0 && head.is("ALPH")) {
      alpha = begin;
    } else if (found.picture.size == 0 && head.is("ANMF")) {
      offset = head.data.offset + kAnimationHeadBytes;
    } else if (head.is("EXIF")) {
      found.exif = head.data;
      break;
    }
  }
  return found;
}

[[noreturn]] void fail(VP8StatusCode status, ImagingStep step, ImagingCode code) {
  if (status == VP8_STATUS_OUT_OF_MEMORY) {
    throw std::bad_alloc();
  }
  if (status == VP8_STATUS_UNSUPPORTED_FEATURE) {
    fail_imaging(ImagingStep::kConvert, ImagingCode::kUnsupportedPixelFormat);
  }
  fail_imaging(step, code);
}

WebPBitstreamFeatures read_features(std::span<const std::uint8_t> picture) {
  WebPBitstreamFeatures features{};
  const VP8StatusCode status = WebPGetFeatures(picture.data(), picture.size(), &features);
  if (status != VP8_STATUS_OK) {
    fail(status, ImagingStep::kFrame, ImagingCode::kBadHeader);
  }
  return features;
}

}  // namespace

PictureHeader read_webp_header(const ByteSource& source) {
  constexpr std::uint64_t kEnoughForSize = 64;
  const Chunks chunks = find_chunks(source);
  const WebPBitstreamFeatures features = read_features(
      read_bytes(source, chunks.picture.offset, std::min(chunks.picture.size, kEnoughForSize)));
  PictureHeader header;
  header.w = static_cast<std::uint64_t>(features.width);
  header.h = static_cast<std::uint64_t>(features.height);
  if (chunks.exif.size > 0 && chunks.exif.size <= kMaxExifBytes) {
    header.metadata = read_exif(read_bytes(source, chunks.exif.offset, chunks.exif.size));
  }
  return header;
}

Pixels8 decode_webp(std::span<const std::uint8_t> file, PixelForm form) {
  if (file.size() < kFileHeadBytes || little32(&file[4]) > file.size() - 8) {
    fail_imaging(ImagingStep::kPixels,
                 ImagingCode::kBadImage);  // cut off, perhaps behind the pixels
  }
  const Chunks chunks = find_chunks(memory_source(file));
  const Extent extent = form == PixelForm::kBgra ? chunks.with_alpha : chunks.picture;
  const std::uint64_t begin = std::min<std::uint64_t>(extent.offset, file.size());
  const std::span<const std::uint8_t> picture =
      file.subspan(static_cast<std::size_t>(begin),
                   static_cast<std::size_t>(std::min(extent.size, file.size() - begin)));
  const WebPBitstreamFeatures features = read_features(picture);
  Pixels8 pixels = make_pixels(static_cast<std::uint64_t>(features.width),
                               static_cast<std::uint64_t>(features.height), form);
  WebPDecoderConfig config;
  if (!WebPInitDecoderConfig(&config)) {
    fail_imaging(ImagingStep::kDecoder, ImagingCode::kUnknownFormat);
  }
  config.output.colorspace = form == PixelForm::kBgra ? MODE_BGRA : MODE_RGB;
  config.output.is_external_memory = 1;
  config.output.u.RGBA.rgba = pixels.data.get();
  config.output.u.RGBA.stride = static_cast<int>(pixels.row_samples());
  config.output.u.RGBA.size = pixels.samples();
  const VP8StatusCode status = WebPDecode(picture.data(), picture.size(), &config);
  if (status != VP8_STATUS_OK) {
    fail(status, ImagingStep::kPixels, ImagingCode::kBadImage);
  }
  return pixels;
}

}  // namespace morva
