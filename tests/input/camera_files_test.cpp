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
  const LoadedPicture picture_in = load_linear(picture(name), wb_mode, half_size);
  EXPECT_TRUE(picture_in.is_raw) << name;
  return picture_in.image;
}

// The patch's light: its code as a share, squared; see make_pictures.py.
double patch_light(int row, int column, int channel) {
  const int patch = row * 3 + column;
  return std::pow((30 + 40 * ((patch + channel * (patch + 1)) % 6)) / 255.0, 2.0);
}

void expect_patches(const Image& image, int side, const std::string& what) {
  ASSERT_EQ(image.w, 3 * side) << what;
  ASSERT_EQ(image.h, 2 * side) << what;
  for (int row = 0; row < 2; ++row)
    for (int column = 0; column < 3; ++column)
      for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(image.at(row * side + side / 2, column * side + side / 2, k),
                    patch_light(row, column, k), 0.004)
            << what << " patch " << row << ", " << column << " channel " << k;
}

TEST(CameraRaw, DaylightBalanceGivesTheColoursOfTheScene) {
  expect_patches(loaded("patches.DNG"), 32, "film");
  expect_patches(loaded("patches.DNG", "custom"), 32, "custom");
  expect_patches(loaded("patches.DNG", "film", true), 16, "half size");
  expect_patches(loaded("info.dng"), 32, "on its side");
}

TEST(CameraRaw, TheShotsOwnBalanceMakesItsLampWhite) {
  const auto centre = [](const char* wb_mode) {
    const Image image = loaded("lamp.dng", wb_mode);
    return std::vector<float>{image.at(32, 48, 0), image.at(32, 48, 1), image.at(32, 48, 2)};
  };
  for (const char* mode : {"as_shot", "", "Film"}) {
    const std::vector<float> white = centre(mode);
    EXPECT_NEAR(white[0], white[1], 0.01f * white[1]) << mode;
    EXPECT_NEAR(white[2], white[1], 0.01f * white[1]) << mode;
  }
  // Under daylight balance the lamp keeps its warmth: 1.6 times the red and half the blue.
  const std::vector<float> warm = centre("film");
  EXPECT_NEAR(warm[0], 0.8f, 0.008f);
  EXPECT_NEAR(warm[1], 0.5f, 0.005f);
  EXPECT_NEAR(warm[2], 0.5f * 0.4f / 0.75f, 0.005f);
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
  const std::string giant = picture("giant.dng");
  EXPECT_EQ(failure(giant), "LibRaw: unpack failed for " + giant);
  // Left to themselves, the first would end the process, the second print, and the others take all
  // memory or minutes.
  ::testing::internal::CaptureStderr();
  for (const char* name : {"short.raf", "short.dng", "huge.dng", "scans.dng"})
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
