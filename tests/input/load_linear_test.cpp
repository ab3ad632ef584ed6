// Files in every form in which a picture comes load to the light that was put into them.
#include "input/load_linear.h"

#include <cmath>

#include "image/errors.h"
#include "input/orientation.h"
#include "input/picture_file.h"
#include "input/srgb_table.h"
#include "written_files.h"

namespace morva {
namespace {

using namespace testing_files;

void expect_codes(const Pixels8& pixels, const Raster& expected, int tolerance,
                  const std::string& what) {
  ASSERT_EQ(pixels.w, expected.w) << what;
  ASSERT_EQ(pixels.h, expected.h) << what;
  int worst = 0;
  for (std::size_t i = 0; i < expected.data.size(); ++i) {
    worst = std::max(worst, std::abs(pixels.rgb[i] - expected.data[i]));
  }
  EXPECT_LE(worst, tolerance) << what;
}

// How a camera stores the upright picture `u` under each orientation: which of its sides the first
// stored row and the first stored column are, as the standard's table has it.
Raster stored_as(const Raster& u, int orientation) {
  const bool sideways = orientation >= 5;
  Raster stored(sideways ? u.h : u.w, sideways ? u.w : u.h, u.c);
  for (int r = 0; r < stored.h; ++r) {
    for (int c = 0; c < stored.w; ++c) {
      const bool from_bottom =
          orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8;
      const bool from_right =
          orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7;
      const int y = sideways ? c : r;
      const int x = sideways ? r : c;
      std::copy_n(u.at(from_bottom ? u.h - 1 - y : y, from_right ? u.w - 1 - x : x), u.c,
                  stored.at(r, c));
    }
  }
  return stored;
}

TEST(LoadLinear, EveryOrientationOfEveryFormatLoadsUpright) {
  const Raster upright = patches();
  for (int orientation = 0; orientation <= 9; ++orientation) {
    const bool turned = orientation >= 2 && orientation <= 8;
    const Raster stored = turned ? stored_as(upright, orientation) : upright;
    const Bytes exif = exif_block({exif_short(0x0112, orientation)});
    JpegForm jpeg_form;
    jpeg_form.exif = with_signature(exif);
    PngForm png_form;
    png_form.exif = exif;
    TiffForm tiff_form;
    tiff_form.orientation = turned ? orientation : 1;
    // Names lie on purpose: content decides.
    const TemporaryFile files[] = {
        TemporaryFile("o.tif", jpeg(stored, jpeg_form)),
        TemporaryFile("o.jpg", png(stored.w, stored.h, stored.data, png_form)),
        TemporaryFile("o.png", tiff(stored.w, stored.h, 3, stored.data, tiff_form)),
        TemporaryFile("o", webp(stored, true, exif)),
        TemporaryFile("снимок.webp", webp(stored, true, with_signature(exif))),
    };
    for (const TemporaryFile& file : files) {
      const LoadedPicture picture = load_linear(file.path, "film", true);
      ASSERT_EQ(picture.image.w, upright.w) << file.path << " " << orientation;
      ASSERT_EQ(picture.image.h, upright.h);
      EXPECT_FALSE(picture.is_raw);
      for (std::size_t i = 0; i < upright.data.size(); ++i) {
        ASSERT_NEAR(encode_srgb8(picture.image.data[i]), upright.data[i], 2)
            << file.path << " orientation " << orientation << " sample " << i;
      }
    }
  }
}

TEST(DecodePicture, JpegColourSpaces) {
  const Raster rgb = patches();
  JpegForm form;
  form.progressive = true;
  expect_codes(decode_picture(jpeg(rgb, form)), rgb, 2, "progressive");
  form.stored = JCS_RGB;
  expect_codes(decode_picture(jpeg(rgb, form)), rgb, 2, "stored as RGB");

  const Raster grey = patches(1);
  Raster spread(grey.w, grey.h, 3);
  for (std::size_t i = 0; i < spread.data.size(); ++i) {
    spread.data[i] = grey.data[i / 3];
  }
  expect_codes(decode_picture(jpeg(grey)), spread, 1, "grey");

  // What the file stores, c, m, y, k, is light (255 = no ink) when the publishing marker stands in
  // it and ink otherwise. The library always writes the marker into four-channel files.
  const Raster cmyk = patches(4);
  Raster light(cmyk.w, cmyk.h, 3);
  Raster ink(cmyk.w, cmyk.h, 3);
  for (int i = 0; i < cmyk.w * cmyk.h; ++i) {
    for (int k = 0; k < 3; ++k) {
      const int colour = cmyk.data[i * 4 + k];
      const int black = cmyk.data[i * 4 + 3];
      light.data[i * 3 + k] = static_cast<std::uint8_t>(std::lround(colour * black / 255.0));
      ink.data[i * 3 + k] =
          static_cast<std::uint8_t>(std::lround((255 - colour) * (255 - black) / 255.0));
    }
  }
  for (const J_COLOR_SPACE stored : {JCS_CMYK, JCS_YCCK}) {
    form.stored = stored;
    expect_codes(decode_picture(jpeg(cmyk, form)), light, 3, "CMYK with the marker");
  }
  form.stored = JCS_CMYK;
  Bytes unmarked = jpeg(cmyk, form);
  const Bytes marker{'A', 'd', 'o', 'b', 'e'};
  const auto place = std::search(unmarked.begin(), unmarked.end(), marker.begin(), marker.end());
  ASSERT_NE(place, unmarked.end());
  *place = 'X';
  expect_codes(decode_picture(unmarked), ink, 3, "CMYK without the marker");
}

TEST(DecodePicture, PngColourTypesAndDepths) {
  const Raster rgb = patches();
  PngForm form;
  form.interlaced = true;
  expect_codes(decode_picture(png(rgb.w, rgb.h, rgb.data, form)), rgb, 0, "interlaced");

  // Colours under a transparent pixel stay; 16 bits are rounded, not cut.
  form = PngForm{PNG_COLOR_TYPE_RGB_ALPHA, 16, false, {}, {}};
  Bytes rows;
  Raster expected(24, 16, 3);
  for (std::size_t i = 0; i < rgb.data.size(); ++i) {
    const int sample = rgb.data[i] * 257 + static_cast<int>(i * 37 % 257) - 128;
    rows.push_back(static_cast<std::uint8_t>(sample >> 8));
    rows.push_back(static_cast<std::uint8_t>(sample & 255));
    expected.data[i] = static_cast<std::uint8_t>(std::lround(sample / 257.0));
    if (i % 3 == 2) {
      rows.insert(rows.end(), {0, 0});
    }
  }
  expect_codes(decode_picture(png(24, 16, rows, form)), expected, 0, "RGB and alpha in 16 bits");

  form = PngForm{PNG_COLOR_TYPE_GRAY, 1, false, {}, {}};
  expected = Raster(8, 1, 3);
  for (int x = 0; x < 8; ++x) {
    std::fill_n(expected.at(0, x), 3, static_cast<std::uint8_t>(0xA5 >> (7 - x) & 1 ? 255 : 0));
  }
  expect_codes(decode_picture(png(8, 1, {0xA5}, form)), expected, 0, "one bit");

  form = PngForm{PNG_COLOR_TYPE_PALETTE, 4, false, {}, {{10, 20, 30}, {200, 100, 50}}};
  expected = Raster(2, 1, 3);
  expected.data = {200, 100, 50, 10, 20, 30};
  expect_codes(decode_picture(png(2, 1, {0x10}, form)), expected, 0, "palette");
}

TEST(DecodePicture, TiffForms) {
  const Raster rgb = patches();
  Bytes rows;
  for (std::size_t i = 0; i < rgb.data.size(); ++i) {
    rows.push_back(rgb.data[i]);
    if (i % 3 == 2) {
      rows.push_back(static_cast<std::uint8_t>(i % 256));
    }
  }
  for (const int alpha :
       {EXTRASAMPLE_UNASSALPHA, EXTRASAMPLE_ASSOCALPHA, EXTRASAMPLE_UNSPECIFIED}) {
    TiffForm form;
    form.extra = {static_cast<std::uint16_t>(alpha)};
    expect_codes(decode_picture(tiff(24, 16, 4, rows, form)), rgb, 0,
                 "alpha " + std::to_string(alpha));
  }

  Bytes wide;
  Bytes light;
  for (const std::uint8_t code : rgb.data) {
    put(wide, code * 257U, 2);
    const float value = srgb_to_linear_table()[code];
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, 4);
    put(light, bits, 4);
  }
  TiffForm form;
  form.depth = 16;
  expect_codes(decode_picture(tiff(24, 16, 3, wide, form)), rgb, 0, "16 bits");
  form.photometric = PHOTOMETRIC_MINISBLACK;
  Raster step(2, 1, 3);
  step.data = {1, 1, 1, 2, 2, 2};
  expect_codes(decode_picture(tiff(2, 1, 1, {0x81, 0x01, 0x82, 0x01}, form)), step, 0,
               "grey, 385 and 386");
  form.photometric = PHOTOMETRIC_RGB;
  form.depth = 32;
  form.sample_format = SAMPLEFORMAT_IEEEFP;
  expect_codes(decode_picture(tiff(24, 16, 3, light, form)), rgb, 0, "float");
  form.sample_format = SAMPLEFORMAT_INT;
  EXPECT_EQ(failure_of([&] { decode_picture(tiff(24, 16, 3, light, form)); }),
            "WIC: convert (0x88982F80)");

  // 8 bits as they stand, packed or not, and grey with an alpha.
  form = TiffForm{};
  for (const int compression :
       {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS}) {
    form.compression = compression;
    expect_codes(decode_picture(tiff(24, 16, 3, rgb.data, form)), rgb, 0,
                 "compression " + std::to_string(compression));
  }
  form.photometric = PHOTOMETRIC_MINISBLACK;
  form.extra = {EXTRASAMPLE_UNASSALPHA};
  expect_codes(decode_picture(tiff(2, 1, 2, {1, 0, 2, 128}, form)), step, 0, "grey and alpha");

  // White is zero, and an odd strip height against 16 rows.
  const Raster grey = patches(1);
  Raster inverted(24, 16, 3);
  for (std::size_t i = 0; i < inverted.data.size(); ++i) {
    inverted.data[i] = static_cast<std::uint8_t>(255 - grey.data[i / 3]);
  }
  form = TiffForm{};
  form.photometric = PHOTOMETRIC_MINISWHITE;
  expect_codes(decode_picture(tiff(24, 16, 1, grey.data, form)), inverted, 0, "white is zero");

  // Colours that the library converts: a palette, printer's inks, luma and chroma under JPEG.
  const Bytes palette = tiff([](TIFF* state) {
    TiffForm indexed;
    indexed.photometric = PHOTOMETRIC_PALETTE;
    set_tiff_tags(state, 2, 1, 1, indexed);
    std::uint16_t ramp[3][256] = {};
    for (int k = 0; k < 3; ++k) ramp[k][7] = static_cast<std::uint16_t>((50 + k) * 257);
    TIFFSetField(state, TIFFTAG_COLORMAP, ramp[0], ramp[1], ramp[2]);
    std::uint8_t row[2] = {7, 0};
    TIFFWriteScanline(state, row, 0);
  });
  Raster looked_up(2, 1, 3);
  looked_up.data = {50, 51, 52, 0, 0, 0};
  expect_codes(decode_picture(palette), looked_up, 0, "palette");
  form = TiffForm{};
  form.photometric = PHOTOMETRIC_SEPARATED;
  Raster printed(2, 1, 3);
  printed.data = {255, 0, 255, 0, 0, 0};
  expect_codes(decode_picture(tiff(2, 1, 4, {0, 255, 0, 0, 9, 9, 9, 255}, form)), printed, 0,
               "CMYK");
  const Bytes luma = tiff([](TIFF* state) {
    TiffForm chroma;
    chroma.photometric = PHOTOMETRIC_YCBCR;
    chroma.compression = COMPRESSION_JPEG;
    set_tiff_tags(state, 16, 16, 3, chroma);
    TIFFSetField(state, TIFFTAG_ROWSPERSTRIP, 16);
    TIFFSetField(state, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    Bytes row;
    for (int x = 0; x < 16; ++x) row.insert(row.end(), {200, 60, 30});
    for (std::uint32_t y = 0; y < 16; ++y) TIFFWriteScanline(state, row.data(), y);
  });
  Raster brick(16, 16, 3);
  for (int i = 0; i < 256; ++i) std::copy_n(Bytes{200, 60, 30}.data(), 3, &brick.data[i * 3]);
  expect_codes(decode_picture(luma), brick, 4, "luma and chroma");

  // 24 x 16 in tiles of 16 x 16: the second is half empty.
  const Bytes tiled = tiff([&](TIFF* state) {
    set_tiff_tags(state, 24, 16, 3, TiffForm{});
    TIFFUnsetField(state, TIFFTAG_ROWSPERSTRIP);
    TIFFSetField(state, TIFFTAG_TILEWIDTH, 16);
    TIFFSetField(state, TIFFTAG_TILELENGTH, 16);
    for (int tile = 0; tile < 2; ++tile) {
      Raster part(16, 16, 3);
      for (int i = 0; i < 256; ++i) {
        std::copy_n(rgb.at(i / 16, std::min(tile * 16 + i % 16, 23)), 3, part.at(i / 16, i % 16));
      }
      TIFFWriteEncodedTile(state, static_cast<std::uint32_t>(tile), part.data.data(), 768);
    }
  });
  expect_codes(decode_picture(tiled), rgb, 0, "tiles");
}

TEST(DecodePicture, WebpAlphaAndAnimation) {
  const Raster rgb = patches();
  Raster faint(rgb.w, rgb.h, 4);
  for (int i = 0; i < rgb.w * rgb.h; ++i) {
    std::copy_n(rgb.data.data() + i * 3, 3, faint.data.data() + i * 4);
    faint.data[i * 4 + 3] = 1;
  }
  expect_codes(decode_picture(webp(faint)), rgb, 0, "nearly transparent");
  // The lossy form halves the colour's resolution, so only a grey picture comes back closely.
  Raster grey(rgb.w, rgb.h, 3);
  for (std::size_t i = 0; i < grey.data.size(); ++i) {
    grey.data[i] = rgb.data[i / 3 * 3];
  }
  expect_codes(decode_picture(webp(grey, false)), grey, 12, "lossy");

  // A detailed picture, whose first partition is longer than what is read for the size alone.
  Raster noise(61, 47, 3);
  for (std::size_t i = 0; i < noise.data.size(); ++i) {
    noise.data[i] = static_cast<std::uint8_t>(i * i * 31 >> 3);
  }
  EXPECT_EQ(read_picture_header(memory_source(webp(noise, false))).w, 61U);
  EXPECT_EQ(read_picture_header(memory_source(webp(noise, true))).h, 47U);

  Bytes chunks;
  for (int frame = 0; frame < 2; ++frame) {
    Bytes data(16);
    const Bytes picture = webp_picture(frame == 0 ? rgb : Raster(24, 16, 3), true);
    data.insert(data.end(), picture.begin(), picture.end());
    put_chunk(chunks, "ANMF", data);
  }
  put_chunk(chunks, "EXIF", exif_block({exif_short(0x0112, 6)}));
  const Bytes animation = riff(chunks);
  expect_codes(decode_picture(animation), rgb, 0, "first frame");
  EXPECT_EQ(read_picture_header(memory_source(animation)).metadata.orientation, 6);
}

TEST(LoadLinear, NamesChooseTheDecoder) {
  EXPECT_EQ(kind_of_file("/a/PHOTO.NEF"), FileKind::kCameraRaw);
  EXPECT_EQ(kind_of_file("a.b/photo.3fr"), FileKind::kCameraRaw);
  EXPECT_EQ(kind_of_file("photo.HeIc"), FileKind::kHeif);
  EXPECT_EQ(kind_of_file("/shoot.nef/photo"), FileKind::kPicture);
  EXPECT_EQ(kind_of_file("C:\\shoot.nef\\photo"), FileKind::kPicture);
  EXPECT_EQ(kind_of_file("nef"), FileKind::kPicture);
  EXPECT_THROW(load_linear("/nowhere/photo.dng", "film", false), NotPorted);
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

TEST(MirrorRotate, QuarterTurns) {
  Image row(1, 3, 2);  // one row: a quarter turn clockwise puts its left end on top
  row.data = {1, 10, 2, 20, 3, 30};
  const auto turned = [&row](double degrees, bool mirror) {
    return mirror_rotate(row, degrees, mirror);
  };
  EXPECT_EQ(turned(89.0, false).data, row.data);
  EXPECT_EQ(turned(89.0, false).h, 3);
  const std::vector<float> reversed{3, 30, 2, 20, 1, 10};
  EXPECT_EQ(turned(-90.0, false).data, reversed);
  EXPECT_EQ(turned(-90.0, false).w, 1);
  EXPECT_EQ(turned(0.0, true).data, reversed);
  EXPECT_EQ(turned(180.0, true).data, row.data);
  EXPECT_EQ(turned(90.0, true).data, reversed);
  EXPECT_EQ(turned(44.0, false).h, 1);

  // Across tiles: four quarter turns, one at a time, come back, and two make a half turn.
  Image picture(37, 70, 3);
  for (std::size_t i = 0; i < picture.data.size(); ++i) {
    picture.data[i] = static_cast<float>(i);
  }
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
