#include "input/tiff_decoder.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "input/imaging_error.h"
#include "input/srgb_table.h"
#include "input/tiff_stream.h"

namespace morva {
namespace {

// Colours, alphas and masks of the most generous file; a hostile one may claim 65535.
constexpr std::uint16_t kMaxSamplesPerPixel = 64;

template <class Value>
Value tag_or(TIFF* tiff, std::uint32_t tag, Value absent) {
  Value value = absent;
  return TIFFGetFieldDefaulted(tiff, tag, &value) ? value : absent;
}

std::string text_tag(TIFF* tiff, std::uint32_t tag) {
  const char* text = nullptr;
  return TIFFGetField(tiff, tag, &text) && text ? plain_text(text) : std::string();
}

// The library hands rationals out as float or double, as its version has it.
double number_tag(TIFF* tiff, std::uint32_t tag) {
  const TIFFField* field = TIFFFieldWithTag(tiff, tag);
  if (!field) {
    return 0.0;
  }
  if (TIFFFieldSetGetSize(field) == sizeof(double)) {
    return known_number(tag_or(tiff, tag, 0.0));
  }
  return known_number(static_cast<double>(tag_or(tiff, tag, 0.0f)));
}

double first_short_tag(TIFF* tiff, std::uint32_t tag) {
  std::uint16_t count = 0;
  const std::uint16_t* values = nullptr;
  return TIFFGetField(tiff, tag, &count, &values) && count > 0 && values ? values[0] : 0.0;
}

Metadata read_metadata(TIFF* tiff) {
  Metadata metadata;
  metadata.orientation = tag_or<std::uint16_t>(tiff, TIFFTAG_ORIENTATION, 0);
  metadata.maker = text_tag(tiff, TIFFTAG_MAKE);
  metadata.model = text_tag(tiff, TIFFTAG_MODEL);
  toff_t exif = 0;
  if (TIFFGetField(tiff, TIFFTAG_EXIFIFD, &exif) && TIFFReadEXIFDirectory(tiff, exif)) {
    metadata.lens = text_tag(tiff, EXIFTAG_LENSMODEL);
    metadata.taken = text_tag(tiff, EXIFTAG_DATETIMEORIGINAL);
    metadata.digitised = text_tag(tiff, EXIFTAG_DATETIMEDIGITIZED);
    metadata.focal_mm = number_tag(tiff, EXIFTAG_FOCALLENGTH);
    metadata.f_number = number_tag(tiff, EXIFTAG_FNUMBER);
    metadata.exposure_s = number_tag(tiff, EXIFTAG_EXPOSURETIME);
    metadata.iso = first_short_tag(tiff, EXIFTAG_ISOSPEEDRATINGS);
  }
  return metadata;
}

// Grey or RGB whose samples lie one behind the other in strips: what photographic programs write.
bool is_plain(TIFF* tiff) {
  const auto samples = tag_or<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
  const auto photometric = tag_or<std::uint16_t>(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
  const auto layout = tag_or<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  const bool interleaved = samples == 1 || layout == PLANARCONFIG_CONTIG;
  return interleaved && !TIFFIsTiled(tiff) &&
         ((photometric == PHOTOMETRIC_MINISBLACK && samples >= 1) ||
          (photometric == PHOTOMETRIC_RGB && samples >= 3));
}

// The first channel behind the colours as an alpha, when the file says that it is one.
struct AlphaChannel {
  bool present = false;
  bool multiplied = false;  // the colours are stored multiplied by it
};

AlphaChannel alpha_of(TIFF* tiff) {
  std::uint16_t count = 0;
  const std::uint16_t* kinds = nullptr;
  if (!TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds) || count == 0 || !kinds) {
    return {};
  }
  return {kinds[0] == EXTRASAMPLE_ASSOCALPHA || kinds[0] == EXTRASAMPLE_UNASSALPHA,
          kinds[0] == EXTRASAMPLE_ASSOCALPHA};
}

// RGB keeps the colours as they are stored; beside an alpha they are freed of it.
std::uint8_t* put_with_alpha(std::uint8_t* out, PixelForm form, AlphaChannel kind, std::uint8_t r,
                             std::uint8_t g, std::uint8_t b, std::uint8_t alpha) {
  if (form == PixelForm::kBgra && kind.multiplied) {
    r = without_alpha(r, alpha);
    g = without_alpha(g, alpha);
    b = without_alpha(b, alpha);
  }
  return put_pixel(out, form, r, g, b, alpha);
}

// Rows of plain samples; `to_code` gives the 8-bit code of a colour,
// `to_alpha` that of an alpha.
template <class Sample, class ToCode, class ToAlpha>
void read_plain_rows(TIFF* tiff, Pixels8& pixels, ToCode to_code, ToAlpha to_alpha) {
  const auto samples = tag_or<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
  if (samples > kMaxSamplesPerPixel) {
    fail_imaging(ImagingStep::kConvert, ImagingCode::kUnsupportedPixelFormat);
  }
  const bool colour = tag_or<std::uint16_t>(tiff, TIFFTAG_PHOTOMETRIC, 0) == PHOTOMETRIC_RGB;
  const int green = colour ? 1 : 0;
  const int blue = colour ? 2 : 0;
  const AlphaChannel alpha = samples > blue + 1 ? alpha_of(tiff) : AlphaChannel{};
  const std::size_t row_samples = static_cast<std::size_t>(pixels.w) * samples;
  const tmsize_t row_bytes = TIFFScanlineSize(tiff);
  if (row_bytes <= 0 || static_cast<std::size_t>(row_bytes) != row_samples * sizeof(Sample)) {
    fail_imaging(ImagingStep::kPixels, ImagingCode::kBadImage);
  }
  if (row_bytes > kMaxTiffAllocation) {
    fail_imaging(ImagingStep::kSize, ImagingCode::kValueOverflow);
  }
  const auto row = std::make_unique_for_overwrite<Sample[]>(row_samples);
  for (std::uint32_t y = 0; y < static_cast<std::uint32_t>(pixels.h); ++y) {
    if (TIFFReadScanline(tiff, row.get(), y) != 1) {
      fail_imaging(ImagingStep::kPixels, ImagingCode::kBadImage);
    }
    std::uint8_t* out = pixels.row(y);
    const Sample* sample = row.get();
    for (std::int32_t x = 0; x < pixels.w; ++x, sample += samples) {
      out = put_with_alpha(out, pixels.form, alpha, to_code(sample[0]), to_code(sample[green]),
                           to_code(sample[blue]),
                           alpha.present ? to_alpha(sample[blue + 1]) : std::uint8_t{255});
    }
  }
}

std::uint8_t round_to_8_bits(std::uint16_t sample) {
  return static_cast<std::uint8_t>((sample + 128) / 257);
}

std::uint8_t float_to_8_bits(float share) {
  return share > 0.0f ? static_cast<std::uint8_t>(std::min(share, 1.0f) * 255.0f + 0.5f) : 0;
}

// The library multiplies colours by an alpha that it knows as not yet multiplied. Here they stay
// apart, so it is told that this has been done.
void keep_colours_under_alpha(TIFF* tiff) {
  std::uint16_t count = 0;
  const std::uint16_t* kinds = nullptr;
  if (TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds) && count > 0) {
    const std::vector<std::uint16_t> multiplied(count, EXTRASAMPLE_ASSOCALPHA);
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, count, multiplied.data());
  }
}

struct RgbaReader {
  TIFFRGBAImage image{};

  explicit RgbaReader(TIFF* tiff) {
    char reason[1024] = {};
    constexpr int kStopOnError = 1;
    if (!TIFFRGBAImageOK(tiff, reason) || !TIFFRGBAImageBegin(&image, tiff, kStopOnError, reason)) {
      fail_imaging(ImagingStep::kConvert, ImagingCode::kUnsupportedPixelFormat);
    }
    image.req_orientation = image.orientation;  // rows as they are stored
  }
  RgbaReader(const RgbaReader&) = delete;
  RgbaReader& operator=(const RgbaReader&) = delete;
  ~RgbaReader() { TIFFRGBAImageEnd(&image); }
};

// Rows in one strip or in one row of tiles: a band of that height is decoded at a time.
std::uint32_t band_rows(TIFF* tiff, std::uint32_t h) {
  const std::uint32_t rows =
      tag_or<std::uint32_t>(tiff, TIFFIsTiled(tiff) ? TIFFTAG_TILELENGTH : TIFFTAG_ROWSPERSTRIP, h);
  return std::clamp<std::uint32_t>(rows, 1, h);
}

// Everything else: the library makes 8-bit colours of it.
void read_converted_rows(TIFF* tiff, Pixels8& pixels) {
  const AlphaChannel alpha = alpha_of(tiff);
  keep_colours_under_alpha(tiff);
  RgbaReader reader(tiff);
  const std::uint32_t w = static_cast<std::uint32_t>(pixels.w);
  const std::uint32_t h = static_cast<std::uint32_t>(pixels.h);
  const std::uint32_t rows = band_rows(tiff, h);
  const auto band =
      std::make_unique_for_overwrite<std::uint32_t[]>(static_cast<std::size_t>(rows) * w);
  for (std::uint32_t y = 0; y < h; y += rows) {
    const std::uint32_t count = std::min(rows, h - y);
    reader.image.row_offset = static_cast<int>(y);
    if (!TIFFRGBAImageGet(&reader.image, band.get(), w, count)) {
      fail_imaging(ImagingStep::kPixels, ImagingCode::kBadImage);
    }
    std::uint8_t* out = pixels.row(y);
    for (std::size_t i = 0; i < static_cast<std::size_t>(count) * w; ++i) {
      out = put_with_alpha(
          out, pixels.form, alpha, static_cast<std::uint8_t>(TIFFGetR(band[i])),
          static_cast<std::uint8_t>(TIFFGetG(band[i])),
          static_cast<std::uint8_t>(TIFFGetB(band[i])),
          alpha.present ? static_cast<std::uint8_t>(TIFFGetA(band[i])) : std::uint8_t{255});
    }
  }
}

}  // namespace

PictureHeader read_tiff_header(const ByteSource& source) {
  TiffStream stream{source};
  const TiffHandle tiff = open_tiff(stream);
  PictureHeader header;
  header.w = tag_or<std::uint32_t>(tiff.get(), TIFFTAG_IMAGEWIDTH, 0);
  header.h = tag_or<std::uint32_t>(tiff.get(), TIFFTAG_IMAGELENGTH, 0);
  if (header.w == 0 || header.h == 0) {
    fail_imaging(ImagingStep::kFrame, ImagingCode::kFrameMissing);
  }
  header.metadata = read_metadata(tiff.get());
  return header;
}

Pixels8 decode_tiff(std::span<const std::uint8_t> file, PixelForm form) {
  const ByteSource source = memory_source(file);
  TiffStream stream{source};
  const TiffHandle tiff = open_tiff(stream);
  Pixels8 pixels = make_pixels(tag_or<std::uint32_t>(tiff.get(), TIFFTAG_IMAGEWIDTH, 0),
                               tag_or<std::uint32_t>(tiff.get(), TIFFTAG_IMAGELENGTH, 0), form);
  const auto bits = tag_or<std::uint16_t>(tiff.get(), TIFFTAG_BITSPERSAMPLE, 1);
  const auto number = tag_or<std::uint16_t>(tiff.get(), TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
  const bool plain = is_plain(tiff.get());
  if (number == SAMPLEFORMAT_UINT && bits == 8 && plain) {
    read_plain_rows<std::uint8_t>(tiff.get(), pixels, std::identity{}, std::identity{});
  } else if (number == SAMPLEFORMAT_UINT && bits == 16 && plain) {
    read_plain_rows<std::uint16_t>(tiff.get(), pixels, round_to_8_bits, round_to_8_bits);
  } else if (number == SAMPLEFORMAT_IEEEFP && bits == 32 && plain) {
    read_plain_rows<float>(tiff.get(), pixels, encode_srgb8, float_to_8_bits);
  } else if (number == SAMPLEFORMAT_UINT || number == SAMPLEFORMAT_VOID) {
    read_converted_rows(tiff.get(), pixels);
  } else {
    fail_imaging(ImagingStep::kConvert, ImagingCode::kUnsupportedPixelFormat);
  }
  return pixels;
}

}  // namespace morva
