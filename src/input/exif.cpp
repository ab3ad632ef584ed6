#include "input/exif.h"

#include <libexif/exif-data.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace morva {
namespace {

constexpr std::uint8_t kSignature[6] = {'E', 'x', 'i', 'f', 0, 0};

struct ReleaseExif {
  void operator()(ExifData* data) const { exif_data_unref(data); }
};
using ExifHandle = std::unique_ptr<ExifData, ReleaseExif>;

ExifHandle parse(std::span<const std::uint8_t> block) {
  std::vector<std::uint8_t> signed_block;
  if (!std::ranges::equal(block.first(std::min(block.size(), sizeof kSignature)), kSignature)) {
    signed_block.reserve(sizeof kSignature + block.size());
    signed_block.assign(std::begin(kSignature), std::end(kSignature));
    signed_block.insert(signed_block.end(), block.begin(), block.end());
    block = signed_block;
  }
  ExifHandle data(exif_data_new());
  if (data) {
    // By default the library repairs a block to the letter of the standard, inventing entries on
    // the way.
    exif_data_unset_option(data.get(), EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
    exif_data_load_data(data.get(), block.data(), static_cast<unsigned int>(block.size()));
  }
  return data;
}

const ExifEntry* find(const ExifData& data, ExifIfd ifd, ExifTag tag) {
  return data.ifd[ifd] ? exif_content_get_entry(data.ifd[ifd], tag) : nullptr;
}

std::string text_of(const ExifEntry* entry) {
  if (!entry || !entry->data || entry->format != EXIF_FORMAT_ASCII) {
    return {};
  }
  return plain_text({reinterpret_cast<const char*>(entry->data), entry->size});
}

// The entry's first value, whichever of the numeric formats the camera chose.
double number_of(const ExifEntry* entry, ExifByteOrder order) {
  if (!entry || !entry->data || entry->components < 1 ||
      entry->size < exif_format_get_size(entry->format)) {
    return 0.0;
  }
  switch (entry->format) {
    case EXIF_FORMAT_SHORT:
      return exif_get_short(entry->data, order);
    case EXIF_FORMAT_LONG:
      return exif_get_long(entry->data, order);
    case EXIF_FORMAT_RATIONAL: {
      const ExifRational value = exif_get_rational(entry->data, order);
      return known_number(static_cast<double>(value.numerator) /
                          static_cast<double>(value.denominator));
    }
    case EXIF_FORMAT_SRATIONAL: {
      const ExifSRational value = exif_get_srational(entry->data, order);
      return known_number(static_cast<double>(value.numerator) /
                          static_cast<double>(value.denominator));
    }
    default:
      return 0.0;
  }
}

}  // namespace

Metadata read_exif(std::span<const std::uint8_t> block) {
  Metadata metadata;
  const ExifHandle data = parse(block);
  if (!data) {
    return metadata;
  }
  const ExifByteOrder order = exif_data_get_byte_order(data.get());
  const auto text = [&](ExifIfd ifd, ExifTag tag) { return text_of(find(*data, ifd, tag)); };
  const auto number = [&](ExifIfd ifd, ExifTag tag) {
    return number_of(find(*data, ifd, tag), order);
  };
  const double orientation = number(EXIF_IFD_0, EXIF_TAG_ORIENTATION);
  metadata.orientation = orientation <= 8.0 ? static_cast<std::int32_t>(orientation) : 0;
  metadata.maker = text(EXIF_IFD_0, EXIF_TAG_MAKE);
  metadata.model = text(EXIF_IFD_0, EXIF_TAG_MODEL);
  metadata.lens = text(EXIF_IFD_EXIF, EXIF_TAG_LENS_MODEL);
  metadata.taken = text(EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_ORIGINAL);
  metadata.digitised = text(EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_DIGITIZED);
  metadata.focal_mm = number(EXIF_IFD_EXIF, EXIF_TAG_FOCAL_LENGTH);
  metadata.f_number = number(EXIF_IFD_EXIF, EXIF_TAG_FNUMBER);
  metadata.exposure_s = number(EXIF_IFD_EXIF, EXIF_TAG_EXPOSURE_TIME);
  metadata.iso = number(EXIF_IFD_EXIF, EXIF_TAG_ISO_SPEED_RATINGS);
  return metadata;
}

std::string plain_text(std::string_view raw) {
  std::string text(raw.substr(0, raw.find('\0')));
  std::ranges::replace_if(
      text,
      [](char c) {
        return static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) > 0x7E;
      },
      '?');
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

double known_number(double value) {
  return std::isfinite(value) && value > 0.0 ? value : 0.0;
}

}  // namespace morva
