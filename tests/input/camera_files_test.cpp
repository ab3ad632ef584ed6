// Camera raw: a sensor whose counts are known comes to the colours in front of it. HEIF beside it,
// in what is its own.
#include <cmath>
#include <iterator>

#include "input/image_info.h"
#include "input/load_linear.h"
#include "input/picture_files.h"

namespace morva {
namespace {

using namespace testing_files;

Image loaded(const std::string& name, const char* wb_mode = "film", bool half_size = false) {
  LoadedPicture loaded = load_linear(picture(name), wb_mode, half_size);
  EXPECT_TRUE(loaded.is_raw) << name;
  return std::move(loaded.image);
}

// A patch's light is its code as a share, squared; see make_pictures.py.
void expect_patches(const Image& image, int side, const char* what) {
  ASSERT_EQ(image.w, 3 * side) << what;
  ASSERT_EQ(image.h, 2 * side) << what;
  for (int patch = 0; patch < 6; ++patch)
    for (int k = 0; k < 3; ++k)
      EXPECT_NEAR(image.at(patch / 3 * side + side / 2, patch % 3 * side + side / 2, k),
                  std::pow((30 + 40 * ((patch + k * (patch + 1)) % 6)) / 255.0, 2.0), 0.004)
          << what << " patch " << patch << " channel " << k;
}

TEST(CameraRaw, DaylightBalanceGivesTheColoursOfTheScene) {
  expect_patches(loaded("patches.DNG"), 32, "film");
  expect_patches(loaded("patches.DNG", "custom"), 32, "custom");
  expect_patches(loaded("patches.DNG", "film", true), 16, "half size");
  expect_patches(loaded("info.dng"), 32, "on its side");
}

TEST(CameraRaw, TheShotsOwnBalanceMakesItsLampWhite) {
  for (const char* mode : {"as_shot", "", "Film"}) {
    const Image white = loaded("lamp.dng", mode);
    for (const int k : {0, 2})
      EXPECT_NEAR(white.at(32, 48, k) / white.at(32, 48, 1), 1.0, 0.01) << mode;
  }
  // Under daylight balance the lamp keeps its warmth: 1.6 times the red and half the blue.
  const Image warm = loaded("lamp.dng");
  EXPECT_NEAR(warm.at(32, 48, 0), 0.8f, 0.008f);
  EXPECT_NEAR(warm.at(32, 48, 1), 0.5f, 0.005f);
  EXPECT_NEAR(warm.at(32, 48, 2), 0.5f * 0.4f / 0.75f, 0.005f);
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
  const std::string text = written("text.nef", Bytes(100, 'x'));
  EXPECT_EQ(failure(text), "LibRaw: cannot open " + text);
  MorvaImageInfo info;
  EXPECT_EQ(failure_of([&] { read_info(text, info); }), "LibRaw: cannot open " + text);
  EXPECT_EQ(failure(written("empty.cr3", {})), "LibRaw: cannot open " + picture("empty.cr3"));
  const std::string jpeg = failure(written("jpeg.heic", bytes_of(picture("grey.jpg"))));
  EXPECT_TRUE(jpeg.starts_with("libheif: ")) << jpeg;
}

}  // namespace
}  // namespace morva
