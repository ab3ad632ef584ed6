// The exports that read picture files and resample.

#include "engine/boundary.h"
#include "image/resample.h"
#include "input/image_info.h"
#include "input/load_linear.h"
#include "input/preview.h"
#include "morva.h"

using namespace morva;

namespace {

bool is_empty(const char* text) {
  return text == nullptr || *text == '\0';
}

}  // namespace

extern "C" {

MORVA_API int32_t morva_image_info(const char* path, MorvaImageInfo* info, MorvaError* err) {
  clear(err);
  if (info != nullptr) *info = MorvaImageInfo{};
  if (is_empty(path) || info == nullptr)
    return fail(err, MORVA_BAD_ARGUMENT, "morva_image_info: пустой путь");
  return guarded(err, plain_failure, [&]() -> std::int32_t {
    MorvaImageInfo read{};
    read_info(path, read);
    *info = read;
    return MORVA_OK;
  });
}

MORVA_API int32_t morva_load_linear(const char* path, const char* wb_mode, int32_t half_size,
                                    MorvaImage* out, int32_t* is_raw, MorvaError* err) {
  clear(err);
  if (out != nullptr) *out = MorvaImage{};
  if (is_raw != nullptr) *is_raw = 0;
  if (is_empty(path) || out == nullptr)
    return fail(err, MORVA_BAD_ARGUMENT, "morva_load_linear: пустой путь");
  return guarded(err, plain_failure, [&]() -> std::int32_t {
    const LoadedPicture picture =
        load_linear(path, wb_mode == nullptr ? "film" : wb_mode, half_size != 0);
    hand_out(picture.image, out);
    if (is_raw != nullptr) *is_raw = picture.is_raw ? 1 : 0;
    return MORVA_OK;
  });
}

MORVA_API int32_t morva_decode_bgra8(const uint8_t* data, int64_t size, uint8_t** bgra,
                                     int32_t* width, int32_t* height, MorvaError* err) {
  clear(err);
  if (bgra != nullptr) *bgra = nullptr;
  if (width != nullptr) *width = 0;
  if (height != nullptr) *height = 0;
  if (data == nullptr || size < 1 || bgra == nullptr || width == nullptr || height == nullptr)
    return fail(err, MORVA_BAD_ARGUMENT, "morva_decode_bgra8: пустой вход");
  return guarded(err, plain_failure, [&]() -> std::int32_t {
    Pixels8 preview = decode_preview({data, static_cast<std::size_t>(size)});
    *width = preview.w;
    *height = preview.h;
    *bgra = preview.data.release();
    return MORVA_OK;
  });
}

MORVA_API int32_t morva_resize(const float* rgb, int32_t width, int32_t height, int32_t new_width,
                               int32_t new_height, MorvaImage* out, MorvaError* err) {
  clear(err);
  if (out != nullptr) *out = MorvaImage{};
  if (rgb == nullptr || out == nullptr || width < 1 || height < 1 || new_width < 1 ||
      new_height < 1)
    return fail(err, MORVA_BAD_ARGUMENT, "morva_resize: empty input or size");
  return guarded(err, plain_failure, [&]() -> std::int32_t {
    const Image picture = copy_in(rgb, width, height);
    hand_out(resize_image(picture, new_width, new_height, kResizeLanczos), out);
    return MORVA_OK;
  });
}

}  // extern "C"
