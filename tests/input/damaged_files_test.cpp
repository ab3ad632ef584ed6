// Files that are cut off, corrupted, hostile or no pictures at all end in an error of their
// decoder's form: no crash, no printing, no memory taken for what a file only claims.
#include <iterator>
#include <random>

#include "input/exif.h"
#include "input/image_info.h"
#include "input/load_linear.h"
#include "input/picture_file.h"
#include "input/picture_files.h"

namespace morva {
namespace {

using namespace testing_files;

constexpr const char* kSound[] = {"info.jpg",       "progressive.jpg", "inks.jpg",     "faint.png",
                                  "interlaced.png", "info.tif",        "tiff_lzw.tif", "float.tif",
                                  "info.webp",      "lossy-alpha.webp"};

// Decodes in both forms. True for a picture; false for an error of the decoder's form; anything
// else fails the test.
bool decodes(const Bytes& file, const std::string& what, Bytes* codes = nullptr) {
  int pictures_made = 0;
  for (const PixelForm form : {PixelForm::kRgb, PixelForm::kBgra}) {
    try {
      const PictureHeader header = read_picture_header(memory_source(file));
      EXPECT_TRUE(header.w > 0 && header.h > 0) << what;
      const Pixels8 pixels = decode_picture(file, form);
      if (codes) std::copy_n(pixels.data.get(), pixels.samples(), std::back_inserter(*codes));
      ++pictures_made;
    } catch (const std::exception& problem) {
      const std::string text = problem.what();
      EXPECT_TRUE(text.starts_with("WIC: ") || text.starts_with("libheif: "))
          << what << ": " << text;
    }
  }
  return pictures_made > 0;
}

Bytes cut(const Bytes& file, std::size_t n) {
  return Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(n));
}

// Half of the changes go into the first `head` bytes, where sizes and counts stand.
Bytes damaged(Bytes file, int changes, std::size_t head, std::mt19937& random) {
  for (int change = 0; change < changes; ++change) {
    const std::size_t reach = random() % 2 ? file.size() : std::min(head, file.size());
    file[random() % reach] = static_cast<std::uint8_t>(random() % 3 ? random() : 0xFF);
  }
  return file;
}

struct Silence {
  Silence() { ::testing::internal::CaptureStderr(); }
  ~Silence() { EXPECT_EQ(::testing::internal::GetCapturedStderr(), ""); }
};

TEST(DamagedFiles, CutOffAnywhereAndWithRandomBytesChanged) {
  const Silence silence;
  std::mt19937 random(7);
  for (const std::string name : kSound) {
    const Bytes file = bytes_of(picture(name));
    EXPECT_TRUE(decodes(file, name));
    for (std::size_t n = 0; n < file.size(); ++n) {
      const std::string what = name + " cut to " + std::to_string(n);
      EXPECT_FALSE(decodes(cut(file, n), what)) << what;
    }
    for (int trial = 0; trial < 300; ++trial) {
      const Bytes changed = damaged(file, 1 + trial % 4, 64, random);
      const std::string what = name + " trial " + std::to_string(trial);
      Bytes codes, again;
      if (!decodes(changed, what, &codes)) continue;
      EXPECT_TRUE(decodes(changed, what, &again));
      EXPECT_TRUE(codes == again) << what << ": pixels that no decoder wrote";
    }
  }
}

TEST(DamagedFiles, CameraRawAndHeif) {
  const Silence silence;
  std::mt19937 random(5);
  const auto load = [](const Bytes& file, const std::string& name, const std::string& what) {
    const std::string path = written(name, file);
    const std::string text = failure_of([&] {
      const LoadedPicture loaded = load_linear(path, "film", false);
      EXPECT_EQ(loaded.image.data.size(), loaded.image.pixels() * 3) << what;
    });
    EXPECT_TRUE(text.empty() || text.starts_with("LibRaw: ") || text.starts_with("libheif: "))
        << what << ": " << text;
    return text.empty();
  };
  for (const std::string name : {"small.dng", "o6.heic"}) {
    const Bytes file = bytes_of(picture(name));
    const std::string copy = "damaged-" + name;
    EXPECT_TRUE(load(file, copy, name));
    for (std::size_t n = 0; n < file.size(); n += 1 + n / 16)
      EXPECT_FALSE(load(cut(file, n), copy, name)) << name << " cut to " << n;
    for (int trial = 0; trial < 200; ++trial)
      load(damaged(file, 1 + trial % 4, 512, random), copy,
           name + " trial " + std::to_string(trial));
  }
}

TEST(DamagedFiles, ClaimsOfGiantSizesTakeNoMemory) {
  const long before = peak_kilobytes();
  const std::string too_large = "WIC: size (0x80070216)";
  const auto failure = [](const std::string& name) {
    const Bytes file = bytes_of(picture(name));
    return failure_of([&] { decode_picture(file, PixelForm::kBgra); });
  };
  EXPECT_EQ(failure("long-row.png"), too_large);
  for (const char* name : {"many-samples.tif", "signed.tif"})
    EXPECT_EQ(failure(name), "WIC: convert (0x88982F80)") << name;
  // Mostly missing: within the limit, and still far more than the file holds.
  for (const std::string end : {".png", "-baseline.jpg", "-progressive.jpg", ".tif"}) {
    EXPECT_EQ(failure("giant" + end), too_large) << end;
    EXPECT_EQ(failure("mostly-missing" + end), "WIC: pixels (0x88982F60)") << end;
  }
  // A long file is not read whole before its first bytes have shown what it is.
  fs::copy_file(picture("giant.png"), picture("long.png"));
  written("zeros.png", {});
  for (const char* name : {"long.png", "zeros.png"})
    fs::resize_file(picture(name), std::uintmax_t{1} << 30);
  const auto load = [](const char* name) { load_linear(picture(name), "film", false); };
  EXPECT_EQ(failure_of([&] { load("long.png"); }), too_large);
  EXPECT_EQ(failure_of([&] { load("zeros.png"); }), "WIC: decoder (0x88982F07)");
  EXPECT_ANY_THROW(load("giant.dng"));
  EXPECT_LT(peak_kilobytes() - before, 200 * 1024);
}

// A scan that brings nothing new takes a few bytes of the file and a pass over the whole picture.
TEST(DamagedFiles, ScansWithoutEnd) {
  const Bytes file = bytes_of(picture("progressive.jpg"));
  const Bytes marker{0xFF, 0xDA};
  const auto scan = std::find_end(file.begin(), file.end(), marker.begin(), marker.end());
  for (const auto& [count, sound] : {std::pair{50, true}, {101, false}}) {
    Bytes more(file.begin(), scan);
    for (int i = 0; i < count; ++i) more.insert(more.end(), scan, file.end() - 2);
    more.insert(more.end(), file.end() - 2, file.end());
    EXPECT_EQ(decodes(more, std::to_string(count) + " scans"), sound);
  }
}

TEST(DamagedFiles, NoPicturesAtAll) {
  const auto failure = [](const std::string& path) {
    MorvaImageInfo info;
    const std::string loaded = failure_of([&] { load_linear(path, "film", false); });
    EXPECT_EQ(failure_of([&] { read_info(path, info); }), loaded);
    return loaded;
  };
  EXPECT_EQ(failure("/nowhere/at/all.jpg"), "WIC: decoder (0x80070002)");
  for (const char* path : {"/tmp", "/dev/zero"})
    EXPECT_EQ(failure(path), "WIC: decoder (0x80070005)");
  for (const Bytes& bytes : {Bytes{}, Bytes{'R', 'I', 'F', 'F', ' ', 'i', 's', ' ', 'n', 'o', 't'}})
    EXPECT_EQ(failure(written("text.jpg", bytes)), "WIC: decoder (0x88982F07)");
  EXPECT_EQ(failure(written("head.jpg", {0xFF, 0xD8, 0xFF, 0xE0})), "WIC: frame (0x88982F61)");
  // An EXIF directory that points at itself.
  const Bytes loop{'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0, 0x69, 0x87, 4,
                   0,   1,   0,  0, 0, 8, 0, 0, 0, 0, 0,    0,    0};
  EXPECT_EQ(read_exif(loop).orientation, 0);
  EXPECT_EQ(read_exif({}).orientation, 0);
}

}  // namespace
}  // namespace morva
