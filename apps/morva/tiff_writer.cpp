#include "tiff_writer.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cancel_signal.h"
#include "host_error.h"
#include "icc_profile.h"
#include "sample_encoding.h"

namespace morva::host {
namespace {

constexpr int kDeflateLevel = 3;
constexpr std::size_t kStripBytes = 256 * 1024;
// Offsets of a classic TIFF have 32 bits; above this, with room for what deflate may add, BigTIFF.
constexpr uint64_t kClassicBytes = 3'900'000'000;

// The last text that libtiff had for us, in place of its printing on stderr.
struct LastError {
  char text[256] = "";
};

int remember(TIFF*, void* user, const char*, const char* format, std::va_list arguments) {
  auto* last = static_cast<LastError*>(user);
  std::vsnprintf(last->text, sizeof last->text, format, arguments);
  return 1;
}

struct CloseTiff {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffPtr = std::unique_ptr<TIFF, CloseTiff>;

TiffPtr open_for_writing(const std::filesystem::path& file, uint64_t bytes, LastError& last) {
  TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
  if (options == nullptr) throw std::bad_alloc();
  TIFFOpenOptionsSetErrorHandlerExtR(options, remember, &last);
  TIFFOpenOptionsSetWarningHandlerExtR(options, remember, &last);
  TIFF* tiff = TIFFOpenExt(file.string().c_str(), bytes > kClassicBytes ? "w8" : "w", options);
  TIFFOpenOptionsFree(options);
  return TiffPtr(tiff);
}

std::size_t bytes_per_sample(SampleType samples) {
  switch (samples) {
    case SampleType::uint8:
      return 1;
    case SampleType::uint16:
      return 2;
    case SampleType::float32:
      break;
  }
  return 4;
}

// One value of the camera's, in the type in which the library takes that tag.
bool set_camera_field(TIFF* tiff, const CameraField& field) {
  const uint32_t tag = field.tag.tag;
  const auto number = static_cast<uint16_t>(field.above);
  switch (field.tag.kind) {
    case CameraValue::text:
      return TIFFSetField(tiff, tag, field.text.c_str()) != 0;
    case CameraValue::number:
      if (tag != EXIFTAG_ISOSPEEDRATINGS) return TIFFSetField(tiff, tag, number) != 0;
      return TIFFSetField(tiff, tag, 1, &number) != 0;
    case CameraValue::ratio:
    case CameraValue::signed_ratio:
      break;
  }
  const double ratio = static_cast<double>(field.above) / static_cast<double>(field.below);
  return TIFFSetField(tiff, tag, ratio) != 0;
}

// The directory of the exposure, which stands ahead of the picture's own: its place, or nothing
// when it cannot be written.
std::optional<uint64_t> write_exposure(TIFF* tiff, const Picture& picture,
                                       const CameraData& camera) {
  constexpr uint8_t kVersion[4] = {'0', '2', '3', '2'};
  constexpr int kSrgb = 1;
  bool set = TIFFCreateEXIFDirectory(tiff) == 0 &&
             TIFFSetField(tiff, EXIFTAG_EXIFVERSION, kVersion) &&
             TIFFSetField(tiff, EXIFTAG_COLORSPACE, kSrgb) &&
             TIFFSetField(tiff, EXIFTAG_PIXELXDIMENSION, static_cast<uint32_t>(picture.width)) &&
             TIFFSetField(tiff, EXIFTAG_PIXELYDIMENSION, static_cast<uint32_t>(picture.height));
  for (const CameraField& field : camera)
    if (field.tag.of_exposure) set = set && set_camera_field(tiff, field);
  uint64_t place = 0;
  if (!set || !TIFFWriteCustomDirectory(tiff, &place)) return std::nullopt;
  TIFFFreeDirectory(tiff);
  if (TIFFCreateDirectory(tiff) != 0) return std::nullopt;
  return place;
}

bool write_notes(TIFF* tiff, const Picture& picture, const PictureNotes& notes) {
  if (!notes.camera.empty()) {
    const std::optional<uint64_t> place = write_exposure(tiff, picture, notes.camera);
    if (!place || !TIFFSetField(tiff, TIFFTAG_EXIFIFD, *place)) return false;
  }
  for (const CameraField& field : notes.camera)
    if (!field.tag.of_exposure && !set_camera_field(tiff, field)) return false;
  return notes.setting.empty() ||
         TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, notes.setting.c_str());
}

bool set_fields(TIFF* tiff, const Picture& picture, SampleType samples) {
  const bool linear = samples == SampleType::float32;
  const std::size_t sample_bytes = bytes_per_sample(samples);
  const std::size_t row_bytes = picture.row_samples() * sample_bytes;
  const auto rows = static_cast<uint32_t>(std::max<std::size_t>(1, kStripBytes / row_bytes));
  const std::vector<uint8_t> icc = linear ? linear_srgb_icc_profile() : srgb_icc_profile();
  return TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(picture.width)) &&
         TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(picture.height)) &&
         TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 3) &&
         TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, static_cast<int>(8 * sample_bytes)) &&
         TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT,
                      linear ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT) &&
         TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB) &&
         TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
         TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) &&
         TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rows) &&
         TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE) &&
         TIFFSetField(tiff, TIFFTAG_PREDICTOR,
                      linear ? PREDICTOR_FLOATINGPOINT : PREDICTOR_HORIZONTAL) &&
         TIFFSetField(tiff, TIFFTAG_ZIPQUALITY, kDeflateLevel) &&
         TIFFSetField(tiff, TIFFTAG_ICCPROFILE, static_cast<uint32_t>(icc.size()), icc.data());
}

void copy_row(std::span<const float> linear, std::span<float> row) {
  std::copy(linear.begin(), linear.end(), row.begin());
}
template <class Integer>
void copy_row(std::span<const float> linear, std::span<Integer> row) {
  encode_row(linear, row);
}

template <class Sample>
bool write_rows(TIFF* tiff, const Picture& picture) {
  std::vector<Sample> row(picture.row_samples());
  for (int32_t y = 0; y < picture.height; ++y) {
    check_cancelled();
    // A fresh copy each time: the predictor works in place.
    copy_row(picture.row(y), std::span<Sample>(row));
    if (TIFFWriteScanline(tiff, row.data(), static_cast<uint32_t>(y), 0) < 0) return false;
  }
  return true;
}

bool write_rows(TIFF* tiff, const Picture& picture, SampleType samples) {
  switch (samples) {
    case SampleType::uint8:
      return write_rows<uint8_t>(tiff, picture);
    case SampleType::uint16:
      return write_rows<uint16_t>(tiff, picture);
    case SampleType::float32:
      break;
  }
  return write_rows<float>(tiff, picture);
}

}  // namespace

void write_tiff(const Picture& picture, SampleType samples, const PictureNotes& notes,
                const std::filesystem::path& file) {
  LastError last;
  const uint64_t bytes =
      static_cast<uint64_t>(picture.height) * picture.row_samples() * bytes_per_sample(samples);
  const TiffPtr tiff = open_for_writing(file, bytes, last);
  // The flush writes the last strip and the directory, where a full disk may show first.
  if (!tiff || !write_notes(tiff.get(), picture, notes) ||
      !set_fields(tiff.get(), picture, samples) || !write_rows(tiff.get(), picture, samples) ||
      TIFFFlush(tiff.get()) == 0) {
    throw HostError(MORVA_FAILED, std::string("cannot write the TIFF: ") + last.text);
  }
}

}  // namespace morva::host
