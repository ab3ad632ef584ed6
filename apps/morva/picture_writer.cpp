#include "picture_writer.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "exr_writer.h"
#include "host_error.h"
#include "jpeg_writer.h"
#include "png_writer.h"
#include "standard_streams.h"
#include "tiff_writer.h"

namespace morva::host {
namespace {

struct Extension {
  const char* text;
  FileFormat format;
};
constexpr std::array<Extension, 6> kExtensions = {{{".png", FileFormat::png},
                                                   {".tif", FileFormat::tiff},
                                                   {".tiff", FileFormat::tiff},
                                                   {".jpg", FileFormat::jpeg},
                                                   {".jpeg", FileFormat::jpeg},
                                                   {".exr", FileFormat::exr}}};

constexpr std::size_t kMostCommentBytes = 65533;  // ITU-T T.81: a length of 16 bits, itself in it

FileFormat format_of(const std::filesystem::path& file, const std::string& format) {
  std::string extension = format.empty() ? file.extension().string() : "." + format;
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  for (const Extension& known : kExtensions) {
    if (extension == known.text) return known.format;
  }
  if (file == kStandardStream)
    throw HostError(MORVA_BAD_ARGUMENT, "standard output needs --format png, tif, jpg or exr");
  throw HostError(MORVA_BAD_ARGUMENT,
                  "unknown output format: " + file.string() + " (png, tif, tiff, jpg, jpeg, exr)");
}

SampleType natural_samples(FileFormat format) {
  switch (format) {
    case FileFormat::png:
    case FileFormat::tiff:
      return SampleType::uint16;
    case FileFormat::jpeg:
      return SampleType::uint8;
    case FileFormat::exr:
      break;
  }
  return SampleType::float32;
}

SampleType named_samples(const std::string& bits) {
  if (bits == "8") return SampleType::uint8;
  if (bits == "16") return SampleType::uint16;
  if (bits == "32f") return SampleType::float32;
  throw HostError(MORVA_BAD_ARGUMENT, "unknown sample size: " + bits + " (8, 16 or 32f)");
}

bool can_hold(FileFormat format, SampleType samples) {
  switch (format) {
    case FileFormat::png:
      return samples != SampleType::float32;
    case FileFormat::tiff:
      return true;
    case FileFormat::jpeg:
      return samples == SampleType::uint8;
    case FileFormat::exr:
      break;
  }
  return samples == SampleType::float32;
}

}  // namespace

Encoding encoding_for(const std::filesystem::path& file, const std::string& format_name,
                      const std::string& bits, int jpeg_quality) {
  const FileFormat format = format_of(file, format_name);
  const SampleType samples = bits.empty() ? natural_samples(format) : named_samples(bits);
  if (!can_hold(format, samples)) {
    throw HostError(MORVA_BAD_ARGUMENT,
                    "a " + (format_name.empty() ? file.extension().string() : format_name) +
                        " file cannot hold samples of " + bits);
  }
  return {format, samples, jpeg_quality};
}

void require_room(const PictureNotes& notes, FileFormat format) {
  if (format == FileFormat::jpeg && notes.setting.size() > kMostCommentBytes)
    throw HostError(
        MORVA_BAD_ARGUMENT,
        "the options are too long for a JPEG to tell them (--no-metadata leaves them out)");
}

void write_picture(const Picture& picture, const Encoding& encoding, const PictureNotes& notes,
                   const std::filesystem::path& file) {
  switch (encoding.format) {
    case FileFormat::png:
      return write_png(picture, encoding.samples, notes, file);
    case FileFormat::tiff:
      return write_tiff(picture, encoding.samples, notes, file);
    case FileFormat::jpeg:
      return write_jpeg(picture, encoding.jpeg_quality, notes, file);
    case FileFormat::exr:
      return write_exr(picture, notes.setting, file);
  }
}

}  // namespace morva::host
