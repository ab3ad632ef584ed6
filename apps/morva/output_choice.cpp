#include "output_choice.h"

#include "console.h"
#include "host_error.h"
#include "standard_streams.h"

namespace morva::host {

Encoding encoding_of(const OutputChoice& choice) {
  if (choice.file == kStandardStream && choice.as_json)
    throw HostError(MORVA_BAD_ARGUMENT, "--json and a picture cannot both go to standard output");
  const Encoding encoding =
      encoding_for(choice.file, choice.format, choice.bits, choice.jpeg_quality);
  if (choice.keep_exif && encoding.format == FileFormat::exr)
    throw HostError(MORVA_BAD_ARGUMENT,
                    "an EXR carries no EXIF: --keep exif is for JPEG, PNG and TIFF");
  return encoding;
}

void announce(const OutputChoice& choice, const nlohmann::ordered_json& made) {
  if (choice.file == kStandardStream) return;
  if (choice.as_json) {
    print_json(made);
  } else if (!choice.quiet) {
    print_line(choice.file);
  }
}

}  // namespace morva::host
