#include "input/heif_decoder.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "input/heif_library.h"

namespace morva {
namespace {

// The longest side of any picture in the file, derived or not: with it none is above kMaxPixels.
constexpr int kMaxSide = 16384;
static_assert(std::uint64_t{kMaxSide} * kMaxSide == kMaxPixels);

void require(const heif_error& result) {
  if (result.code == heif_error_Ok) {
    return;
  }
  throw std::runtime_error(std::string("libheif: ") +
                           (result.message != nullptr ? result.message : "no message"));
}

struct FreeContext {
  void operator()(heif_context* context) const { heif_library().context_free(context); }
};
struct ReleaseHandle {
  void operator()(heif_image_handle* handle) const { heif_library().image_handle_release(handle); }
};
struct ReleaseImage {
  void operator()(heif_image* image) const { heif_library().image_release(image); }
};
using HeifContext = std::unique_ptr<heif_context, FreeContext>;
using HeifHandle = std::unique_ptr<heif_image_handle, ReleaseHandle>;
using HeifImage = std::unique_ptr<heif_image, ReleaseImage>;

// The primary picture of `file`, which must outlive it.
struct PrimaryPicture {
  HeifContext context;
  HeifHandle handle;
};

PrimaryPicture open_primary(std::span<const std::uint8_t> file) {
  const HeifLibrary& heif = heif_library();
  PrimaryPicture picture;
  picture.context.reset(heif.context_alloc());
  if (!picture.context) {
    throw std::bad_alloc();
  }
  heif.context_set_maximum_image_size_limit(picture.context.get(), kMaxSide);
  heif.context_set_max_decoding_threads(picture.context.get(), 0);
  require(heif.context_read_from_memory_without_copy(picture.context.get(), file.data(),
                                                     file.size(), nullptr));
  heif_image_handle* handle = nullptr;
  require(heif.context_get_primary_image_handle(picture.context.get(), &handle));
  picture.handle.reset(handle);
  return picture;
}

// The camera's block, which the container keeps behind the offset of its TIFF header.
std::vector<std::uint8_t> exif_block(const heif_image_handle* handle) {
  const HeifLibrary& heif = heif_library();
  constexpr std::size_t kOffsetBytes = 4;
  heif_item_id id = 0;
  if (heif.image_handle_get_list_of_metadata_block_ids(handle, "Exif", &id, 1) < 1) {
    return {};
  }
  const std::size_t size = heif.image_handle_get_metadata_size(handle, id);
  if (size <= kOffsetBytes || size > kMaxExifBytes) {
    return {};
  }
  std::vector<std::uint8_t> block(size);
  if (heif.image_handle_get_metadata(handle, id, block.data()).code != heif_error_Ok) {
    return {};
  }
  const std::size_t offset = static_cast<std::size_t>(block[0]) << 24 | block[1] << 16 |
                             block[2] << 8 | static_cast<std::size_t>(block[3]);
  const std::size_t begin = kOffsetBytes + std::min(offset, size - kOffsetBytes);
  return std::vector<std::uint8_t>(block.begin() + static_cast<std::ptrdiff_t>(begin), block.end());
}

void copy_bgra(const std::uint8_t* rgba, std::int32_t pixels, bool multiplied, std::uint8_t* out) {
  for (std::int32_t x = 0; x < pixels; ++x, rgba += 4) {
    const std::uint8_t alpha = rgba[3];
    if (multiplied) {
      out = put_pixel(out, PixelForm::kBgra, without_alpha(rgba[0], alpha),
                      without_alpha(rgba[1], alpha), without_alpha(rgba[2], alpha), alpha);
    } else {
      out = put_pixel(out, PixelForm::kBgra, rgba[0], rgba[1], rgba[2], alpha);
    }
  }
}

}  // namespace

bool is_heif(std::string_view start) {
  // The file's own brand: HEVC coded, any codec, a sequence of either, or AV1.
  static constexpr std::string_view kBrands[] = {"heic", "heix", "hevc", "hevx", "heim", "heis",
                                                 "hevm", "hevs", "mif1", "msf1", "avif", "avis"};
  return start.size() >= 12 && start.substr(4, 4) == "ftyp" &&
         std::ranges::find(kBrands, start.substr(8, 4)) != std::end(kBrands);
}

PictureHeader read_heif_header(std::span<const std::uint8_t> file) {
  const HeifLibrary& heif = heif_library();
  const PrimaryPicture picture = open_primary(file);
  PictureHeader header;
  header.w =
      static_cast<std::uint64_t>(std::max(heif.image_handle_get_width(picture.handle.get()), 0));
  header.h =
      static_cast<std::uint64_t>(std::max(heif.image_handle_get_height(picture.handle.get()), 0));
  header.metadata = read_exif(exif_block(picture.handle.get()));
  header.metadata.orientation = 0;
  return header;
}

Pixels8 decode_heif(std::span<const std::uint8_t> file, PixelForm form) {
  const HeifLibrary& heif = heif_library();
  const PrimaryPicture picture = open_primary(file);
  heif_image* decoded = nullptr;
  require(heif.decode_image(
      picture.handle.get(), &decoded, heif_colorspace_RGB,
      form == PixelForm::kRgb ? heif_chroma_interleaved_RGB : heif_chroma_interleaved_RGBA,
      nullptr));
  const HeifImage image(decoded);
  int stride = 0;
  const std::uint8_t* row =
      heif.image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride);
  const int w = heif.image_get_width(image.get(), heif_channel_interleaved);
  const int h = heif.image_get_height(image.get(), heif_channel_interleaved);
  if (!row || w < 1 || h < 1 || stride < 1) {
    throw std::runtime_error("libheif: empty image");
  }
  Pixels8 pixels = make_pixels(static_cast<std::uint64_t>(w), static_cast<std::uint64_t>(h), form);
  if (static_cast<std::size_t>(stride) < pixels.row_samples()) {
    throw std::runtime_error("libheif: empty image");
  }
  const bool multiplied = heif.image_handle_is_premultiplied_alpha(picture.handle.get()) != 0;
  for (std::size_t y = 0; y < static_cast<std::size_t>(h); ++y, row += stride) {
    if (form == PixelForm::kRgb) {
      std::copy_n(row, pixels.row_samples(), pixels.row(y));
    } else {
      copy_bgra(row, w, multiplied, pixels.row(y));
    }
  }
  return pixels;
}

}  // namespace morva
