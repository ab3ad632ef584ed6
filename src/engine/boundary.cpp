#include "engine/boundary.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>

#include "finish/sheet_size.h"
#include "image/errors.h"
#include "image/growing_image.h"
#include "input/bounded_light.h"

namespace morva {

// The records are shared with hosts compiled apart from the library.
static_assert(sizeof(MorvaError) == 1028 && offsetof(MorvaError, message) == 4);
static_assert(sizeof(MorvaImage) == 24 && offsetof(MorvaImage, width) == 8 &&
              offsetof(MorvaImage, height) == 12 && offsetof(MorvaImage, channels) == 16);
static_assert(sizeof(MorvaImageInfo) == 336 && offsetof(MorvaImageInfo, is_raw) == 8 &&
              offsetof(MorvaImageInfo, camera) == 9 && offsetof(MorvaImageInfo, lens) == 137 &&
              offsetof(MorvaImageInfo, focal_mm) == 272 &&
              offsetof(MorvaImageInfo, f_number) == 280 &&
              offsetof(MorvaImageInfo, exposure_s) == 288 && offsetof(MorvaImageInfo, iso) == 296 &&
              offsetof(MorvaImageInfo, date) == 300);
static_assert(sizeof(MorvaSourceStats) == 32 && offsetof(MorvaSourceStats, height) == 4 &&
              offsetof(MorvaSourceStats, p10) == 8 && offsetof(MorvaSourceStats, p50) == 16 &&
              offsetof(MorvaSourceStats, p995) == 24);

namespace {

std::int32_t fail_with(MorvaError* err, std::int32_t code, std::string_view prefix,
                       std::string_view text) noexcept {
  if (err == nullptr) return code;
  err->code = code;
  char* out = err->message;
  std::size_t room = sizeof err->message - 1;
  for (const std::string_view part : {prefix, text}) {
    const std::size_t length = std::min(part.size(), room);
    std::memcpy(out, part.data(), length);
    out += length;
    room -= length;
  }
  *out = '\0';
  return code;
}

}  // namespace

std::int32_t failure_as(MorvaError* err, std::int32_t code, std::string_view prefix) noexcept {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return fail_with(err, code, prefix, "out of memory");
  } catch (const std::exception& error) {
    return fail_with(err, code, prefix, error.what());
  } catch (...) {
    return fail_with(err, code, prefix, "unknown failure");
  }
}

std::int32_t no_text(MorvaError*) noexcept {
  return 0;
}

std::int32_t fail(MorvaError* err, std::int32_t code, std::string_view text) noexcept {
  return fail_with(err, code, "", text);
}

void clear(MorvaError* err) noexcept {
  if (err == nullptr) return;
  err->code = MORVA_OK;
  err->message[0] = '\0';
}

std::int32_t render_failure(MorvaError* err) noexcept {
  try {
    throw;
  } catch (const Cancelled&) {
    return fail_with(err, MORVA_CANCELLED, "", "cancelled");
  } catch (const NotPorted& error) {
    return fail_with(err, MORVA_NOT_PORTED, "ещё не портировано: ", error.what());
  } catch (const OptionsError& error) {
    return fail_with(err, MORVA_OPTIONS_FAILED, "", error.what());
  } catch (const ProfileError& error) {
    return fail_with(err, MORVA_PROFILE_FAILED, "", error.what());
  } catch (const SheetTooLarge& error) {
    return fail_with(err, MORVA_FAILED, "", error.what());
  } catch (const std::bad_alloc&) {
    return fail_with(err, MORVA_FAILED, "", "не хватило памяти");
  } catch (const std::exception& error) {
    return fail_with(err, MORVA_FAILED, "", error.what());
  } catch (...) {
    return fail_with(err, MORVA_FAILED, "", "unknown failure");
  }
}

std::int32_t plain_failure(MorvaError* err) noexcept {
  return failure_as(err, MORVA_FAILED, "");
}

std::int32_t options_failure(MorvaError* err) noexcept {
  return failure_as(err, MORVA_OPTIONS_FAILED, "");
}

std::int32_t query_failure(MorvaError* err) noexcept {
  try {
    throw;
  } catch (const ProfileError& error) {
    return fail_with(err, MORVA_PROFILE_FAILED, "", error.what());
  } catch (const SheetTooLarge& error) {
    return fail_with(err, MORVA_OPTIONS_FAILED, "", error.what());
  } catch (...) {
    return failure_as(err, MORVA_OPTIONS_FAILED, "");
  }
}

Image copy_in(const float* rgb, std::int32_t width, std::int32_t height) {
  Image picture = reserve_image(height, width, 3);
  picture.data.assign(rgb, rgb + sample_count(height, width, 3));
  return picture;
}

Image copy_light_in(const float* rgb, std::int32_t width, std::int32_t height) {
  Image scene = copy_in(rgb, width, height);
  for (float& light : scene.data) light = bounded_light(light);
  return scene;
}

void hand_out(const Image& image, MorvaImage* out) {
  const std::size_t bytes = image.data.size() * sizeof(float);
  auto* block = static_cast<float*>(std::malloc(std::max<std::size_t>(bytes, 1)));
  if (block == nullptr) throw std::bad_alloc();
  std::memcpy(block, image.data.data(), bytes);
  *out = MorvaImage{block, image.w, image.h, image.c};
}

std::int32_t hand_out(const std::string& text, char* buf, std::int32_t cap) noexcept {
  if (buf != nullptr && cap >= 1) {
    const std::size_t length = std::min(text.size(), static_cast<std::size_t>(cap) - 1);
    std::memcpy(buf, text.data(), length);
    buf[length] = '\0';
  }
  return static_cast<std::int32_t>(text.size());
}

}  // namespace morva
