// Files that are cut off, corrupted, hostile or no pictures at all end in an error of the one form:
// no crash, no printing, no memory taken for what a file only claims.
#include <sys/resource.h>

#include <algorithm>
#include <random>
#include <utility>

#include "input/image_info.h"
#include "input/load_linear.h"
#include "input/picture_file.h"
#include "written_files.h"

namespace morva {
namespace {

using namespace testing_files;

Bytes camera_exif() {
  return exif_block({exif_text(0x010F, "Maker"), exif_text(0x0110, "Model"), exif_short(0x0112, 6)},
                    {exif_ratio(0x829A, 1, 125), exif_ratio(0x829D, 28, 10),
                     exif_short(0x8827, 400), exif_text(0xA434, "A lens with a long name")});
}

std::vector<std::pair<std::string, Bytes>> sound_files() {
  const Raster rgb = patches();
  const Raster cmyk = patches(4);
  JpegForm baseline;
  baseline.exif = with_signature(camera_exif());
  JpegForm progressive;
  progressive.progressive = true;
  JpegForm press;
  press.stored = JCS_YCCK;
  PngForm interlaced;
  interlaced.interlaced = true;
  interlaced.exif = camera_exif();
  TiffForm deflated;
  deflated.compression = COMPRESSION_ADOBE_DEFLATE;
  TiffForm floats;
  floats.depth = 32;
  floats.sample_format = SAMPLEFORMAT_IEEEFP;
  floats.compression = COMPRESSION_NONE;
  return {
      {"JPEG", jpeg(rgb, baseline)},
      {"progressive JPEG", jpeg(rgb, progressive)},
      {"CMYK JPEG", jpeg(cmyk, press)},
      {"PNG", png(rgb.w, rgb.h, rgb.data)},
      {"interlaced PNG", png(rgb.w, rgb.h, rgb.data, interlaced)},
      {"TIFF", tiff(rgb.w, rgb.h, 3, rgb.data)},
      {"deflated TIFF", tiff(rgb.w, rgb.h, 3, rgb.data, deflated)},
      {"float TIFF", tiff(6, 16, 3, rgb.data, floats)},
      {"lossless WebP", webp(rgb, true, camera_exif())},
      {"lossy WebP", webp(rgb, false)},
  };
}

// Decodes as load_linear does. True for a picture; false for an error of the one form; anything
// else fails the test.
bool decodes(const Bytes& file, const std::string& what, Bytes* codes = nullptr) {
  try {
    const PictureHeader header = read_picture_header(memory_source(file));
    EXPECT_TRUE(header.w > 0 && header.h > 0) << what;
    const Pixels8 pixels = decode_picture(file);
    if (codes) {
      codes->assign(pixels.rgb.get(), pixels.rgb.get() + pixels.samples());
    }
    return true;
  } catch (const std::exception& problem) {
    EXPECT_TRUE(std::string(problem.what()).starts_with("WIC: ")) << what << ": " << problem.what();
    return false;
  }
}

TEST(DamagedFiles, CutOffAnywhere) {
  ::testing::internal::CaptureStderr();
  for (const auto& [name, file] : sound_files()) {
    EXPECT_TRUE(decodes(file, name));
    for (std::size_t n = 0; n < file.size(); ++n) {
      const std::string what =
          name + " of " + std::to_string(file.size()) + " bytes cut to " + std::to_string(n);
      EXPECT_FALSE(
          decodes(Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(n)), what))
          << what;
    }
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(DamagedFiles, RandomBytesChanged) {
  ::testing::internal::CaptureStderr();
  std::mt19937 random(7);
  for (const auto& [name, file] : sound_files()) {
    for (int trial = 0; trial < 300; ++trial) {
      Bytes damaged = file;
      for (int change = 0; change <= trial % 4; ++change) {
        // Half of the changes go into the first 64 bytes, where sizes and counts stand.
        const std::size_t reach =
            random() % 2 ? damaged.size() : std::min<std::size_t>(64, damaged.size());
        damaged[random() % reach] = static_cast<std::uint8_t>(random() % 3 ? random() : 0xFF);
      }
      const std::string what = name + " trial " + std::to_string(trial);
      Bytes codes;
      if (decodes(damaged, what, &codes)) {
        Bytes again;
        EXPECT_TRUE(decodes(damaged, what, &again));
        EXPECT_TRUE(codes == again) << what << ": pixels that no decoder wrote";
      }
    }
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

// The checksum of a PNG chunk, ISO 3309.
std::uint32_t checksum(const std::uint8_t* bytes, std::size_t n) {
  std::uint32_t sum = 0xFFFFFFFF;
  for (std::size_t i = 0; i < n; ++i) {
    sum ^= bytes[i];
    for (int bit = 0; bit < 8; ++bit) {
      sum = sum & 1 ? sum >> 1 ^ 0xEDB88320 : sum >> 1;
    }
  }
  return ~sum;
}

void put_big(std::uint8_t* at, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) {
    at[i] = static_cast<std::uint8_t>(value >> 8 * (bytes - 1 - i));
  }
}

Bytes png_claiming(std::uint32_t w, std::uint32_t h) {
  Bytes file = png(24, 16, patches().data);
  put_big(&file[16], w, 4);
  put_big(&file[20], h, 4);
  put_big(&file[29], checksum(&file[12], 17), 4);
  return file;
}

Bytes jpeg_claiming(std::uint32_t side, bool progressive) {
  JpegForm form;
  form.progressive = progressive;
  Bytes file = jpeg(patches(), form);
  const Bytes marker{0xFF, static_cast<std::uint8_t>(progressive ? 0xC2 : 0xC0)};
  const auto frame = std::search(file.begin(), file.end(), marker.begin(), marker.end());
  put_big(&*frame + 5, side, 2);
  put_big(&*frame + 7, side, 2);
  return file;
}

Bytes tiff_claiming(int side, int rows_per_strip) {
  return tiff([&](TIFF* state) {
    set_tiff_tags(state, side, side, 3, TiffForm{});
    TIFFSetField(state, TIFFTAG_ROWSPERSTRIP, rows_per_strip);
    Bytes raw(64, 0x55);
    TIFFWriteRawStrip(state, 0, raw.data(), static_cast<tmsize_t>(raw.size()));
  });
}

long peak_kilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

TEST(DamagedFiles, ClaimsOfGiantSizesTakeNoMemory) {
  const long before = peak_kilobytes();
  const std::string too_large = "WIC: size (0x80070216)";
  const std::string cut_off = "WIC: pixels (0x88982F60)";
  const auto failure = [](const Bytes& file) { return failure_of([&] { decode_picture(file); }); };
  EXPECT_EQ(failure(png_claiming(200000, 200000)), too_large);
  EXPECT_EQ(failure(png_claiming(0x7FFFFFFF, 1)), too_large);
  EXPECT_EQ(failure(jpeg_claiming(65000, false)), too_large);
  EXPECT_EQ(failure(jpeg_claiming(65000, true)), too_large);
  EXPECT_EQ(failure(tiff_claiming(200000, 1)), too_large);
  EXPECT_EQ(failure(tiff_claiming(200000, 200000)), too_large);
  EXPECT_EQ(failure(tiff([](TIFF* state) {
              TiffForm form;
              form.depth = 16;
              set_tiff_tags(state, 200000, 1000, 60000, form);
              TIFFWriteCheck(state, 0, "");
            })),
            "WIC: convert (0x88982F80)")
      << "60000 samples a pixel";
  EXPECT_EQ(failure(tiff([](TIFF* state) {
              TiffForm form;
              form.depth = 16;
              set_tiff_tags(state, 1 << 28, 1, 64, form);
              TIFFWriteCheck(state, 0, "");
            })),
            too_large)
      << "one row of 32 GiB";
  // Within the limit, and still far more than the file holds.
  EXPECT_EQ(failure(png_claiming(16384, 16384)), cut_off);
  EXPECT_EQ(failure(jpeg_claiming(16000, false)), cut_off);
  EXPECT_EQ(failure(jpeg_claiming(16000, true)), cut_off);
  EXPECT_EQ(failure(tiff_claiming(16000, 16)), cut_off);
  // A long file is not read whole before its first bytes have shown what it is.
  const TemporaryFile claims("giant.png", png_claiming(200000, 150000));
  const TemporaryFile zeros("zeros.png");
  for (const TemporaryFile* file : {&claims, &zeros}) {
    std::filesystem::resize_file(file->path, std::uintmax_t{1} << 30);
  }
  const auto load = [](const TemporaryFile& file) { load_linear(file.path, "film", false); };
  EXPECT_EQ(failure_of([&] { load(claims); }), too_large);
  EXPECT_EQ(failure_of([&] { load(zeros); }), "WIC: decoder (0x88982F07)");
  EXPECT_LT(peak_kilobytes() - before, 200 * 1024);

  MorvaImageInfo info;
  read_info(claims.path, info);
  EXPECT_EQ(info.width, 200000);
}

// A scan that brings nothing new takes a few bytes of the file and a pass over the whole picture.
TEST(DamagedFiles, ScansWithoutEnd) {
  JpegForm form;
  form.progressive = true;
  const Bytes file = jpeg(patches(), form);
  const Bytes marker{0xFF, 0xDA};
  const auto scan = std::find_end(file.begin(), file.end(), marker.begin(), marker.end());
  const auto with_more_scans = [&](int count) {
    Bytes more(file.begin(), scan);
    for (int i = 0; i < count; ++i) {
      more.insert(more.end(), scan, file.end() - 2);
    }
    more.insert(more.end(), file.end() - 2, file.end());
    return more;
  };
  EXPECT_TRUE(decodes(with_more_scans(50), "50 scans"));
  EXPECT_FALSE(decodes(with_more_scans(101), "101 scans"));
}

TEST(DamagedFiles, NoPicturesAtAll) {
  MorvaImageInfo info;
  const auto failure = [&info](const std::string& path) {
    const std::string loaded = failure_of([&] { load_linear(path, "film", false); });
    EXPECT_EQ(failure_of([&] { read_info(path, info); }), loaded);
    return loaded;
  };
  EXPECT_EQ(failure("/nowhere/at/all.jpg"), "WIC: decoder (0x80070002)");
  EXPECT_EQ(failure("/tmp"), "WIC: decoder (0x80070005)");
  EXPECT_EQ(failure("/dev/zero"), "WIC: decoder (0x80070005)");
  const TemporaryFile empty("empty.jpg");
  EXPECT_EQ(failure(empty.path), "WIC: decoder (0x88982F07)");
  const std::string words = "RIFF is not enough";
  const TemporaryFile text("text.jpg", Bytes(words.begin(), words.end()));
  EXPECT_EQ(failure(text.path), "WIC: decoder (0x88982F07)");
  const TemporaryFile head("head.jpg", {0xFF, 0xD8, 0xFF, 0xE0});
  EXPECT_EQ(failure(head.path), "WIC: frame (0x88982F61)");
}

TEST(DamagedFiles, HostileExifLeavesThePictureAlone) {
  std::mt19937 random(11);
  const Bytes sound = camera_exif();
  for (int trial = 0; trial < 1000; ++trial) {
    Bytes block = sound;
    for (int change = 0; change < 1 + trial % 8; ++change) {
      block[random() % block.size()] = static_cast<std::uint8_t>(random() % 3 ? random() : 0xFF);
    }
    block.resize(trial % 5 ? block.size() : random() % block.size());
    JpegForm form;
    form.exif = with_signature(block);
    EXPECT_TRUE(decodes(jpeg(patches(), form), "EXIF trial " + std::to_string(trial)));
  }
  // Directories that point at themselves.
  const Bytes itself{8, 0, 0, 0};
  const Bytes loop = exif_block({{0x8769, 4, 1, itself}, {0x8825, 4, 1, itself}});
  EXPECT_EQ(read_exif(loop).orientation, 0);
  EXPECT_EQ(read_exif({}).orientation, 0);
}

}  // namespace
}  // namespace morva
