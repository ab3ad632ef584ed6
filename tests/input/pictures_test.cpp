// Every kind of picture, camera raw and HEIF included, comes to the pixels that its writer put in,
// upright, in linear light and for a screen; and each format's own account of itself.
#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

#include "input/image_info.h"
#include "input/load_linear.h"
#include "input/orientation.h"
#include "input/picture_files.h"
#include "input/srgb_table.h"
#include "morva.h"

namespace morva {
namespace {

using namespace testing_files;

// The picture as it comes to a screen, its colours put into the order R, G, B, A.
Upright previewed(const std::string& name) {
  const Bytes file = bytes_of(picture(name));
  Upright seen;
  std::uint8_t* bgra = nullptr;
  MorvaError err;
  EXPECT_EQ(MORVA_OK, morva_decode_bgra8(file.data(), static_cast<std::int64_t>(file.size()), &bgra,
                                         &seen.w, &seen.h, &err))
      << name << ": " << err.message;
  for (int i = 0; i < seen.w * seen.h * 4; i += 4)
    for (const int place : {2, 1, 0, 3}) seen.rgba.push_back(bgra[i + place]);
  morva_free_bytes(bgra);
  return seen;
}

TEST(Pictures, DecodeToWhatWasPutIn) {
  int pictures_seen = 0;
  for (const fs::directory_entry& entry : fs::directory_iterator(pictures())) {
    if (entry.path().extension() != ".upright") continue;
    const std::string name = entry.path().stem().string();
    SCOPED_TRACE(name);
    const Upright upright = upright_of(name), seen = previewed(name);
    const LoadedPicture loaded = load_linear(picture(name), "film", true);
    EXPECT_FALSE(loaded.is_raw);
    ASSERT_EQ((std::array{loaded.image.w, loaded.image.h, seen.w, seen.h}),
              (std::array{upright.w, upright.h, upright.w, upright.h}));
    int worst = 0;
    for (std::size_t i = 0; i < upright.rgba.size(); ++i) {
      worst = std::max(worst, std::abs(seen.rgba[i] - upright.rgba[i]));
      if (i % 4 == 3) continue;
      const int code = encode_srgb8(loaded.image.data[i / 4 * 3 + i % 4]);
      worst = std::max(worst, std::abs(code - upright.rgba[i]));
    }
    EXPECT_LE(worst, upright.tolerance);
    ++pictures_seen;
  }
  EXPECT_GT(pictures_seen, 80);
}

// A colour that the file holds multiplied by its alpha: RGB takes it as it stands, a screen
// without.
TEST(Pictures, MultipliedAlpha) {
  const Upright straight = upright_of("extra-2.tif");
  const Upright seen = previewed("multiplied.tif");
  for (std::size_t i = 0; i < straight.rgba.size(); i += 4) {
    const int alpha = straight.rgba[i + 3];
    ASSERT_EQ(seen.rgba[i + 3], alpha);
    ASSERT_NEAR(seen.rgba[i], straight.rgba[i], 128 / alpha + 1) << "under alpha " << alpha;
  }
  const Image linear = load_linear(picture("multiplied.tif"), "film", false).image;
  EXPECT_EQ(encode_srgb8(linear.at(0, 9)), (straight.rgba[36] * straight.rgba[39] + 127) / 255);
}

TEST(Pictures, PreviewRefusesEmptyInputAndNamesChooseTheDecoder) {
  std::uint8_t byte = 0, *bgra = &byte;
  std::int32_t w = 7, h = 7;
  MorvaError err;
  EXPECT_EQ(morva_decode_bgra8(nullptr, 1, &bgra, &w, &h, &err), MORVA_BAD_ARGUMENT);
  EXPECT_STREQ(err.message, "morva_decode_bgra8: пустой вход");
  EXPECT_TRUE(bgra == nullptr && w == 0 && h == 0);
  EXPECT_EQ(morva_decode_bgra8(&byte, -1, &bgra, &w, &h, &err), MORVA_BAD_ARGUMENT);
  EXPECT_EQ(morva_decode_bgra8(&byte, 1, nullptr, &w, &h, &err), MORVA_BAD_ARGUMENT);
  EXPECT_EQ(morva_decode_bgra8(&byte, 1, &bgra, nullptr, &h, nullptr), MORVA_BAD_ARGUMENT);
  EXPECT_EQ(morva_decode_bgra8(&byte, 1, &bgra, &w, &h, &err), MORVA_FAILED);
  EXPECT_STREQ(err.message, "WIC: decoder (0x88982F07)");
  EXPECT_EQ(bgra, nullptr);
  EXPECT_EQ(kind_of_file("/a/PHOTO.NEF"), FileKind::kCameraRaw);
  EXPECT_EQ(kind_of_file("a.b/photo.3fr"), FileKind::kCameraRaw);
  EXPECT_EQ(kind_of_file("photo.HeIc"), FileKind::kHeif);
  EXPECT_EQ(kind_of_file("C:\\shoot.nef\\photo"), FileKind::kPicture);
}

TEST(SrgbTable, FollowsTheStandardAndRoundTrips) {
  for (int i = 0; i < 256; ++i) {
    const double v = i / 255.0;
    const double exact = v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
    EXPECT_NEAR(srgb_to_linear_table()[i], exact, 4e-7 * exact) << i;
    EXPECT_EQ(encode_srgb8(srgb_to_linear_table()[i]), i);
  }
  EXPECT_EQ(srgb_to_linear_table()[255], 1.0f);
  EXPECT_TRUE(encode_srgb8(-1.0f) == 0 && encode_srgb8(NAN) == 0 && encode_srgb8(INFINITY) == 255);
}

TEST(MirrorRotate, QuarterTurnsAcrossTiles) {
  // Two quarter turns make a half turn, and two of those come back.
  Image picture(37, 70, 3);
  for (std::size_t i = 0; i < picture.data.size(); ++i) picture.data[i] = static_cast<float>(i);
  const Image half = mirror_rotate(mirror_rotate(picture, 90, false), 90, false);
  EXPECT_EQ(half.data, mirror_rotate(picture, 180, false).data);
  EXPECT_EQ(half.at(0, 0, 1), picture.at(36, 69, 1));
  EXPECT_EQ(mirror_rotate(half, -180, false).data, picture.data);
  // An upright picture is handed through, not copied.
  const float* place = picture.data.data();
  EXPECT_EQ(mirror_rotate(std::move(picture), 360, false).data.data(), place);
}

Image loaded(const std::string& name, const char* wb_mode = "film", bool half_size = false) {
  LoadedPicture loaded = load_linear(picture(name), wb_mode, half_size);
  EXPECT_TRUE(loaded.is_raw) << name;
  return std::move(loaded.image);
}

// A sensor whose counts are known comes to the colours in front of it: a patch's light is its code
// as a share, squared; see make_pictures.py.
TEST(CameraRaw, DaylightBalanceGivesTheColoursOfTheScene) {
  const Image images[] = {loaded("patches.DNG"), loaded("patches.DNG", "custom"),
                          loaded("patches.DNG", "film", true), loaded("info.dng")};
  for (int i = 0; i < 4; ++i) {
    const int side = i == 2 ? 16 : 32;
    ASSERT_TRUE(images[i].w == 3 * side && images[i].h == 2 * side) << i;
    for (int patch = 0; patch < 6; ++patch)
      for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(images[i].at(patch / 3 * side + side / 2, patch % 3 * side + side / 2, k),
                    std::pow((30 + 40 * ((patch + k * (patch + 1)) % 6)) / 255.0, 2.0), 0.004)
            << i << ", patch " << patch << " channel " << k;
  }
}

TEST(CameraRaw, TheShotsOwnBalanceMakesItsLampWhite) {
  for (const char* mode : {"as_shot", "", "Film"}) {
    const Image white = loaded("lamp.dng", mode);
    for (const int k : {0, 2})
      EXPECT_NEAR(white.at(32, 48, k) / white.at(32, 48, 1), 1.0, 0.01) << mode;
  }
  // Under daylight balance the lamp keeps its warmth: 1.6 times the red and half the blue.
  const Image warm = loaded("lamp.dng");
  for (const auto& [k, light] : {std::pair{0, 0.8f}, {1, 0.5f}, {2, 0.5f * 0.4f / 0.75f}})
    EXPECT_NEAR(warm.at(32, 48, k), light, 0.01f * light);
}

TEST(CameraRaw, StaysOnTheCallersThread) {
  const auto threads = [] {
    return std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator{});
  };
  const auto before = threads();
  EXPECT_EQ(loaded("large.dng").w, 1200);
  EXPECT_EQ(threads(), before) << "OpenMP keeps the threads that a loop has started";
}

TEST(CameraRaw, Failures) {
  const auto failure = [](const std::string& path) {
    return failure_of([&] { load_linear(path, "film", false); });
  };
  EXPECT_EQ(failure("/nowhere/photo.NEF"), "cannot open /nowhere/photo.NEF");
  EXPECT_EQ(failure("/nowhere/photo.heic"), "cannot open /nowhere/photo.heic");
  EXPECT_EQ(failure("/tmp/."), "WIC: decoder (0x80070005)");
  // Left to themselves, the second would end the process, the third print, and the others take all
  // memory or minutes.
  ::testing::internal::CaptureStderr();
  for (const char* name : {"giant.dng", "short.raf", "short.dng", "huge.dng", "scans.dng"})
    EXPECT_EQ(failure(picture(name)), "LibRaw: unpack failed for " + picture(name));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  MorvaImageInfo info;
  for (const std::string& path : {written("text.nef", Bytes(100, 'x')), written("empty.cr3", {})}) {
    EXPECT_EQ(failure(path), "LibRaw: cannot open " + path);
    EXPECT_EQ(failure_of([&] { read_info(path, info); }), "LibRaw: cannot open " + path);
  }
  const std::string jpeg = failure(written("jpeg.heic", bytes_of(picture("grey.jpg"))));
  EXPECT_TRUE(jpeg.starts_with("libheif: ")) << jpeg;
}

MorvaImageInfo info_of(const std::string& name) {
  MorvaImageInfo info;
  std::memset(&info, 0x55, sizeof info);
  read_info(picture(name), info);
  return info;
}

TEST(ImageInfo, EveryFormatTellsTheSame) {
  const Bytes jpeg = bytes_of(picture("info.jpg")), scan{0xFF, 0xDA};
  written("info-header.jpg",
          Bytes(jpeg.begin(), std::search(jpeg.begin(), jpeg.end(), scan.begin(), scan.end()) +
                                  std::ssize(scan)));
  for (const char* name : {"info.jpg", "info-header.jpg", "info.png", "info.webp", "info.tif",
                           "info.dng", "info.heic"}) {
    const MorvaImageInfo info = info_of(name);
    SCOPED_TRACE(name);
    const int scale = info.is_raw || std::string(name) == "info.heic" ? 4 : 1;
    EXPECT_EQ(info.is_raw, std::string(name) == "info.dng");
    EXPECT_TRUE(info.width == 24 * scale && info.height == 16 * scale);
    // The raw library takes a maker's name that a model repeats out of it.
    EXPECT_STREQ(info.camera, info.is_raw ? "Alder Works 5" : "Alder Works Alder Works 5");
    EXPECT_STREQ(info.lens, "50 mm f/1.4");
    EXPECT_STREQ(info.date, "2020:02:29 23:59:58");
    EXPECT_TRUE(info.focal_mm == 50.0 && info.iso == 800);
    EXPECT_NEAR(info.f_number, 5.6, 1e-6);
    EXPECT_NEAR(info.exposure_s, 0.004, 1e-9);
  }
}

TEST(ImageInfo, UnknownAndOddValues) {
  const MorvaImageInfo bare = info_of("grey.jpg");
  EXPECT_TRUE(bare.camera[0] == 0 && bare.focal_mm == 0.0);
  EXPECT_EQ(info_of("giant.png").width, 200000);
  const MorvaImageInfo odd = info_of("odd.jpg");
  EXPECT_EQ(odd.camera, std::string(127, 'm'));
  EXPECT_STREQ(odd.date, "2019:12:31 08:00:00")
      << "the scanner's date where the clock was never set, not the last editor's";
  EXPECT_STREQ(odd.lens, "? caf?");
  EXPECT_TRUE(odd.exposure_s == 0.0 && odd.f_number == 0.0);
  EXPECT_EQ(odd.iso, INT32_MAX);
  // Only dates of the calendar count, which the last two are.
  const std::string sound[] = {"1999:01:01 00:00:00", "2024:12:31 23:59:59"};
  for (int i = 0; i <= 8; ++i)
    EXPECT_EQ(info_of("date-" + std::to_string(i) + ".jpg").date, i < 7 ? "" : sound[i - 7]) << i;
}

TEST(ImageInfo, FailureLeavesItEmpty) {
  for (const char* path : {"/nowhere/photo.jpg", "/nowhere/photo.CR3", "/nowhere/photo.hif"}) {
    MorvaImageInfo info;
    std::memset(&info, 0x55, sizeof info);
    EXPECT_ANY_THROW(read_info(path, info));
    EXPECT_TRUE(info.width == 0 && info.camera[0] == 0);
  }
}

}  // namespace
}  // namespace morva
