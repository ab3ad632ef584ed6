// Every kind of picture comes to the pixels that its writer put in, upright, in linear light and
// for a screen.
#include <array>
#include <cmath>

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

TEST(Pictures, PreviewRefusesEmptyInput) {
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
}

TEST(Pictures, NamesChooseTheDecoder) {
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
  EXPECT_EQ(encode_srgb8(-1.0f), 0);
  EXPECT_EQ(encode_srgb8(NAN), 0);
  EXPECT_EQ(encode_srgb8(INFINITY), 255);
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

}  // namespace
}  // namespace morva
