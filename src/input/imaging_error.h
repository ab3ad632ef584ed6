// The one error form of ordinary picture files: "WIC: " + step + " (0x%08lX)". Steps and codes are
// those of the platform's imaging component, for which the decoders here stand in, so that a host
// reads the same message whichever of the two is at work.
#pragma once

#include <cstdint>

namespace morva {

// How far a file came, in the order in which it is read.
enum class ImagingStep {
  kDecoder,  // the file is opened and its format recognised
  kFrame,    // the first picture's header is read
  kConvert,  // a conversion to 24-bit RGB is set up
  kSize,     // the size is taken and memory is measured out
  kPixels,   // the pixels are decoded
};

// The imaging component's and the system's own result codes.
enum class ImagingCode : std::uint32_t {
  kFileNotFound = 0x80070002,
  kAccessDenied = 0x80070005,  // also a directory, a pipe or a device in place of a file
  kValueOverflow = 0x80070216,
  kUnknownFormat = 0x88982F07,
  kBadImage = 0x88982F60,
  kBadHeader = 0x88982F61,
  kFrameMissing = 0x88982F62,
  kStreamRead = 0x88982F72,
  kUnsupportedPixelFormat = 0x88982F80,
};

// Throws std::runtime_error with the text above.
[[noreturn]] void fail_imaging(ImagingStep step, ImagingCode code);

}  // namespace morva
