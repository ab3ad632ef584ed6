#include "camera_data.h"

#include <libexif/exif-data.h>
#include <morva.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>

#include "picture_blocks.h"

namespace morva::host {
namespace {

constexpr std::string_view kSignature("Exif\0\0", 6);
constexpr std::size_t kLongestText = 255;

// EXIF 2.32, 4.6.4 and 4.6.5, by number.
constexpr uint16_t kMaker = 0x010F, kModel = 0x0110, kExposureTime = 0x829A, kFNumber = 0x829D,
                   kIso = 0x8827, kTaken = 0x9003, kFocalLength = 0x920A, kLensModel = 0xA434;
constexpr std::array<CameraTag, 22> kTags = {{
    {kMaker, false, CameraValue::text},
    {kModel, false, CameraValue::text},
    {0x013B, false, CameraValue::text},  // artist
    {0x8298, false, CameraValue::text},  // copyright
    {kExposureTime, true, CameraValue::ratio},
    {kFNumber, true, CameraValue::ratio},
    {0x8822, true, CameraValue::number},  // exposure program
    {kIso, true, CameraValue::number},
    {kTaken, true, CameraValue::text},
    {0x9004, true, CameraValue::text},          // when digitised
    {0x9204, true, CameraValue::signed_ratio},  // exposure bias, stops
    {0x9205, true, CameraValue::ratio},         // largest aperture
    {0x9206, true, CameraValue::ratio},         // distance, metres
    {0x9207, true, CameraValue::number},        // metering
    {0x9208, true, CameraValue::number},        // light source
    {0x9209, true, CameraValue::number},        // flash
    {kFocalLength, true, CameraValue::ratio},
    {0xA402, true, CameraValue::number},  // exposure mode
    {0xA403, true, CameraValue::number},  // white balance
    {0xA405, true, CameraValue::number},  // focal length on 135
    {0xA433, true, CameraValue::text},    // lens maker
    {kLensModel, true, CameraValue::text},
}};

struct ReleaseExif {
  void operator()(ExifData* data) const { exif_data_unref(data); }
};
using Exif = std::unique_ptr<ExifData, ReleaseExif>;

Exif parse(const PictureBlock& block) {
  const std::string_view bytes(reinterpret_cast<const char*>(block.bytes.data()),
                               block.bytes.size());
  std::string signed_block(bytes.starts_with(kSignature) ? "" : kSignature);
  signed_block += bytes;
  Exif data(exif_data_new());
  if (!data) return data;
  // By default the library repairs a block to the letter of the standard, inventing entries.
  exif_data_unset_option(data.get(), EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
  exif_data_load_data(data.get(), reinterpret_cast<const unsigned char*>(signed_block.data()),
                      static_cast<unsigned int>(signed_block.size()));
  return data;
}

std::string printable(std::string_view raw) {
  std::string text(raw.substr(0, std::min(raw.find('\0'), kLongestText)));
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c < 0x20 || c > 0x7E; }, '?');
  text.resize(text.find_last_not_of(' ') + 1);
  return text;
}

// Nothing for a field that was left blank; a blank date keeps its colons.
std::optional<CameraField> text_field(CameraTag tag, std::string_view raw) {
  std::string text = printable(raw);
  if (text.find_first_not_of(" :") == std::string::npos) return std::nullopt;
  return CameraField{tag, std::move(text)};
}

std::optional<CameraField> ratio_field(CameraTag tag, int64_t above, int64_t below) {
  if (below == 0 || (tag.kind == CameraValue::ratio && above == 0)) return std::nullopt;
  return CameraField{tag, "", above, below};
}

std::optional<CameraField> field_of(CameraTag tag, const ExifEntry* entry, ExifByteOrder order) {
  if (entry == nullptr || entry->data == nullptr || entry->components < 1 ||
      entry->size < exif_format_get_size(entry->format))
    return std::nullopt;
  if (tag.kind == CameraValue::text && entry->format == EXIF_FORMAT_ASCII)
    return text_field(tag, {reinterpret_cast<const char*>(entry->data), entry->size});
  if (tag.kind == CameraValue::number && entry->format == EXIF_FORMAT_SHORT)
    return CameraField{tag, "", exif_get_short(entry->data, order)};
  if (tag.kind == CameraValue::ratio && entry->format == EXIF_FORMAT_RATIONAL) {
    const ExifRational value = exif_get_rational(entry->data, order);
    return ratio_field(tag, value.numerator, value.denominator);
  }
  if (tag.kind == CameraValue::signed_ratio && entry->format == EXIF_FORMAT_SRATIONAL) {
    const ExifSRational value = exif_get_srational(entry->data, order);
    return ratio_field(tag, value.numerator, value.denominator);
  }
  return std::nullopt;
}

CameraData in_block(const PictureBlock& block) {
  CameraData fields;
  const Exif data = parse(block);
  if (!data) return fields;
  const ExifByteOrder order = exif_data_get_byte_order(data.get());
  for (const CameraTag& tag : kTags) {
    ExifContent* const directory = data->ifd[tag.of_exposure ? EXIF_IFD_EXIF : EXIF_IFD_0];
    if (directory == nullptr) continue;
    const ExifEntry* entry = exif_content_get_entry(directory, static_cast<ExifTag>(tag.tag));
    if (const std::optional<CameraField> field = field_of(tag, entry, order))
      fields.push_back(*field);
  }
  return fields;
}

// A positive number as a ratio: short times of exposure as one over a whole number, the rest in
// thousandths.
std::optional<CameraField> ratio_of(CameraTag tag, double value) {
  if (!(value > 1e-6 && value < 1e6)) return std::nullopt;
  if (value < 0.3) return CameraField{tag, "", 1, std::llround(1.0 / value)};
  return CameraField{tag, "", std::llround(value * 1000.0), 1000};
}

std::optional<CameraField> field_of(CameraTag tag, const MorvaImageInfo& info) {
  switch (tag.tag) {
    case kModel:
      return text_field(tag, info.camera);
    case kTaken:
      return text_field(tag, info.date);
    case kLensModel:
      return text_field(tag, info.lens);
    case kExposureTime:
      return ratio_of(tag, info.exposure_s);
    case kFNumber:
      return ratio_of(tag, info.f_number);
    case kFocalLength:
      return ratio_of(tag, info.focal_mm);
    case kIso:
      return info.iso > 0 ? std::optional(CameraField{tag, "", std::min(info.iso, 65535)})
                          : std::nullopt;
    default:
      return std::nullopt;
  }
}

// Camera raw files, TIFF and HEIF: what the engine's own decoders tell of them.
CameraData told_by_engine(const std::string& file) {
  CameraData fields;
  MorvaImageInfo info{};
  if (morva_image_info(file.c_str(), &info, nullptr) != MORVA_OK) return fields;
  for (const CameraTag& tag : kTags)
    if (const std::optional<CameraField> field = field_of(tag, info)) fields.push_back(*field);
  return fields;
}

}  // namespace

CameraData read_camera_data(const std::string& file) {
  for (const PictureBlock& block : picture_blocks(file)) {
    const std::string_view bytes(reinterpret_cast<const char*>(block.bytes.data()),
                                 block.bytes.size());
    const bool of_camera = block.kind == "eXIf" || block.kind == "EXIF" ||
                           (block.kind == "APP1" && bytes.starts_with(kSignature));
    if (!of_camera) continue;
    if (CameraData fields = in_block(block); !fields.empty()) return fields;
  }
  return told_by_engine(file);
}

}  // namespace morva::host
