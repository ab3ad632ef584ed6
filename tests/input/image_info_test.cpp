// A file's own account of itself, from each format that carries one.
#include "input/image_info.h"

#include <limits>

#include "input/picture_files.h"

namespace morva {
namespace {

using namespace testing_files;

MorvaImageInfo info_of(const std::string& name) {
  MorvaImageInfo info;
  std::memset(&info, 0x55, sizeof info);
  read_info(picture(name), info);
  return info;
}

TEST(ImageInfo, EveryFormatTellsTheSame) {
  const Bytes jpeg = bytes_of(picture("info.jpg")), scan{0xFF, 0xDA};
  written("info-header.jpg", Bytes(jpeg.begin(), std::ranges::search(jpeg, scan).end()));
  for (const char* name : {"info.jpg", "info-header.jpg", "info.png", "info.webp", "info.tif",
                           "info.dng", "info.heic"}) {
    const MorvaImageInfo info = info_of(name);
    const bool large = info.is_raw || std::string(name) == "info.heic";
    EXPECT_EQ(info.is_raw, std::string(name) == "info.dng") << name;
    EXPECT_EQ(info.width, large ? 96 : 24) << name;
    EXPECT_EQ(info.height, large ? 64 : 16) << name;
    // The raw library takes a maker's name that a model repeats out of it.
    EXPECT_STREQ(info.camera, info.is_raw ? "Alder Works 5" : "Alder Works Alder Works 5") << name;
    EXPECT_STREQ(info.lens, "50 mm f/1.4") << name;
    EXPECT_STREQ(info.date, "2020:02:29 23:59:58") << name;
    EXPECT_DOUBLE_EQ(info.focal_mm, 50.0) << name;
    EXPECT_NEAR(info.f_number, 5.6, 1e-6) << name;
    EXPECT_NEAR(info.exposure_s, 0.004, 1e-9) << name;
    EXPECT_EQ(info.iso, 800) << name;
  }
}

TEST(ImageInfo, UnknownAndOddValues) {
  const MorvaImageInfo bare = info_of("grey.jpg");
  EXPECT_STREQ(bare.camera, "");
  EXPECT_EQ(bare.focal_mm, 0.0);
  EXPECT_EQ(info_of("giant.png").width, 200000);

  const MorvaImageInfo odd = info_of("odd.jpg");
  EXPECT_EQ(odd.camera, std::string(127, 'm'));
  EXPECT_STREQ(odd.date, "2019:12:31 08:00:00")
      << "the scanner's date where the clock was never set, not the last editor's";
  EXPECT_STREQ(odd.lens, "? caf?");
  EXPECT_TRUE(odd.exposure_s == 0.0 && odd.f_number == 0.0);
  EXPECT_EQ(odd.iso, std::numeric_limits<std::int32_t>::max());
}

TEST(ImageInfo, OnlyDatesOfTheCalendarCount) {
  EXPECT_STREQ(info_of("date-sound-0.jpg").date, "1999:01:01 00:00:00");
  EXPECT_STREQ(info_of("date-sound-1.jpg").date, "2024:12:31 23:59:59");
  for (int i = 0; i <= 6; ++i)
    EXPECT_STREQ(info_of("date-" + std::to_string(i) + ".jpg").date, "") << i;
}

TEST(ImageInfo, FailureLeavesItEmpty) {
  for (const char* path : {"/nowhere/photo.jpg", "/nowhere/photo.CR3", "/nowhere/photo.hif"}) {
    MorvaImageInfo info;
    std::memset(&info, 0x55, sizeof info);
    EXPECT_ANY_THROW(read_info(path, info));
    EXPECT_EQ(info.width, 0);
    EXPECT_STREQ(info.camera, "");
  }
}

}  // namespace
}  // namespace morva
