// A file's own account of itself, from each format that carries one.
#include "input/image_info.h"

#include <limits>

#include "image/errors.h"
#include "written_files.h"

namespace morva {
namespace {

using namespace testing_files;

Bytes full_exif() {
  return exif_block(
      {exif_text(0x010F, "Alder Works  "), exif_text(0x0110, "Alder Works 5"),
       exif_short(0x0112, 8), exif_text(0x0132, "2021:01:01 00:00:00")},
      {exif_ratio(0x829A, 1, 250), exif_ratio(0x829D, 56, 10), exif_short(0x8827, 800),
       exif_text(0x9003, "2020:02:29 23:59:58"), exif_text(0x9004, "2021:06:01 12:00:00"),
       exif_ratio(0x920A, 50, 1), exif_text(0xA434, "50 mm f/1.4")});
}

MorvaImageInfo info_of(const Bytes& file) {
  const TemporaryFile written("info.jpg", file);
  MorvaImageInfo info;
  std::memset(&info, 0x55, sizeof info);
  read_info(written.path, info);
  return info;
}

void expect_full(const MorvaImageInfo& info, const std::string& what) {
  EXPECT_EQ(info.width, 16) << what;
  EXPECT_EQ(info.height, 24) << what;
  EXPECT_FALSE(info.is_raw);
  EXPECT_STREQ(info.camera, "Alder Works Alder Works 5") << what;
  EXPECT_STREQ(info.lens, "50 mm f/1.4") << what;
  EXPECT_STREQ(info.date, "2020:02:29 23:59:58") << what;
  EXPECT_DOUBLE_EQ(info.focal_mm, 50.0) << what;
  EXPECT_NEAR(info.f_number, 5.6, 1e-6) << what;
  EXPECT_NEAR(info.exposure_s, 0.004, 1e-9) << what;
  EXPECT_EQ(info.iso, 800) << what;
}

Bytes tiff_with_exif(std::uint32_t date_tag = EXIFTAG_DATETIMEORIGINAL) {
  return tiff([date_tag](TIFF* state) {
    TiffForm form;
    form.orientation = 8;
    Raster raster = patches();
    set_tiff_tags(state, raster.w, raster.h, 3, form);
    TIFFSetField(state, TIFFTAG_MAKE, "Alder Works  ");
    TIFFSetField(state, TIFFTAG_MODEL, "Alder Works 5");
    TIFFSetField(state, TIFFTAG_DATETIME, "2021:01:01 00:00:00");
    TIFFSetField(state, TIFFTAG_EXIFIFD, static_cast<toff_t>(0));
    for (int y = 0; y < raster.h; ++y) {
      TIFFWriteScanline(state, raster.at(y, 0), static_cast<std::uint32_t>(y));
    }
    TIFFWriteDirectory(state);
    TIFFCreateEXIFDirectory(state);
    const std::uint16_t iso[1] = {800};
    TIFFSetField(state, EXIFTAG_EXPOSURETIME, 1.0 / 250);
    TIFFSetField(state, EXIFTAG_FNUMBER, 5.6);
    TIFFSetField(state, EXIFTAG_FOCALLENGTH, 50.0);
    TIFFSetField(state, EXIFTAG_ISOSPEEDRATINGS, 1, iso);
    TIFFSetField(state, date_tag, "2020:02:29 23:59:58");
    TIFFSetField(state, EXIFTAG_LENSMODEL, "50 mm f/1.4");
    toff_t place = 0;
    TIFFWriteCustomDirectory(state, &place);
    TIFFSetDirectory(state, 0);
    TIFFSetField(state, TIFFTAG_EXIFIFD, place);
    TIFFRewriteDirectory(state);
  });
}

TEST(ImageInfo, EveryFormat) {
  JpegForm jpeg_form;
  jpeg_form.exif = with_signature(full_exif());
  PngForm png_form;
  png_form.exif = full_exif();
  const Raster rgb = patches();
  expect_full(info_of(jpeg(rgb, jpeg_form)), "JPEG");
  expect_full(info_of(png(rgb.w, rgb.h, rgb.data, png_form)), "PNG");
  expect_full(info_of(webp(rgb, true, full_exif())), "WebP");
  expect_full(info_of(tiff_with_exif()), "TIFF");
  expect_full(info_of(tiff_with_exif(EXIFTAG_DATETIMEDIGITIZED)), "scanned TIFF");
}

TEST(ImageInfo, OnlyTheHeaderIsRead) {
  JpegForm form;
  form.exif = with_signature(full_exif());
  Bytes file = jpeg(patches(), form);
  const Bytes scan{0xFF, 0xDA};
  file.erase(std::search(file.begin(), file.end(), scan.begin(), scan.end()) + 2, file.end());
  expect_full(info_of(file), "JPEG without its pixels");
}

TEST(ImageInfo, UnknownAndOddValues) {
  const MorvaImageInfo bare = info_of(jpeg(patches()));
  EXPECT_EQ(bare.width, 24);
  EXPECT_EQ(bare.height, 16);
  EXPECT_STREQ(bare.camera, "");
  EXPECT_EQ(bare.focal_mm, 0.0);

  JpegForm form;
  Bytes huge;
  put(huge, std::numeric_limits<std::uint32_t>::max(), 4);
  form.exif = with_signature(exif_block(
      {exif_text(0x010F, std::string(300, 'm')), exif_text(0x0132, "2021:01:01 00:00:00")},
      {exif_ratio(0x829A, 1, 0),
       exif_ratio(0x829D, 0, 0),
       {0x8827, 4, 1, huge},
       exif_text(0x9003, "0000:00:00 00:00:00"),
       exif_text(0x9004, "2019:12:31 08:00:00 "),
       exif_text(0xA434, "\x01 caf\xE9")}));
  const MorvaImageInfo odd = info_of(jpeg(patches(), form));
  EXPECT_EQ(std::string(odd.camera), std::string(127, 'm'));
  EXPECT_STREQ(odd.date, "2019:12:31 08:00:00")
      << "the scanner's date where the clock was never set, not the last editor's";
  EXPECT_STREQ(odd.lens, "? caf?");
  EXPECT_EQ(odd.exposure_s, 0.0);
  EXPECT_EQ(odd.f_number, 0.0);
  EXPECT_EQ(odd.iso, std::numeric_limits<std::int32_t>::max());
}

TEST(ImageInfo, OnlyDatesOfTheCalendarCount) {
  const auto date_of = [](const std::string& text) {
    JpegForm form;
    form.exif = with_signature(exif_block({}, {exif_text(0x9003, text)}));
    return std::string(info_of(jpeg(patches(), form)).date);
  };
  for (const char* sound : {"1999:01:01 00:00:00", "2024:12:31 23:59:59"}) {
    EXPECT_EQ(date_of(sound), sound);
  }
  for (const char* odd :
       {"2024:00:10 00:00:00", "2024:13:10 00:00:00", "2024:01:00 00:00:00", "2024:01:32 00:00:00",
        "2024:01:01 24:00:00", "2024:01:01 00:60:00", "2024:01:01 00:00:60", "2024-01-01 00:00:00",
        "2024:01:01", "    :  :     :  :  "}) {
    EXPECT_EQ(date_of(odd), "") << odd;
  }
}

TEST(ImageInfo, FailureLeavesItEmpty) {
  MorvaImageInfo info;
  for (const char* path : {"/nowhere/photo.jpg", "/nowhere/photo.CR3", "/nowhere/photo.hif"}) {
    std::memset(&info, 0x55, sizeof info);
    EXPECT_ANY_THROW(read_info(path, info));
    EXPECT_EQ(info.width, 0);
    EXPECT_STREQ(info.camera, "");
  }
  EXPECT_THROW(read_info("/nowhere/photo.CR3", info), NotPorted);
}

}  // namespace
}  // namespace morva
