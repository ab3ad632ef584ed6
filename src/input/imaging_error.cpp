#include "input/imaging_error.h"

#include <cstdio>
#include <stdexcept>

namespace morva {
namespace {

const char* step_name(ImagingStep step) {
  switch (step) {
    case ImagingStep::kDecoder:
      return "decoder";
    case ImagingStep::kFrame:
      return "frame";
    case ImagingStep::kConvert:
      return "convert";
    case ImagingStep::kSize:
      return "size";
    case ImagingStep::kPixels:
      break;
  }
  return "pixels";
}

}  // namespace

void fail_imaging(ImagingStep step, ImagingCode code) {
  char text[48];
  std::snprintf(text, sizeof text, "WIC: %s (0x%08lX)", step_name(step),
                static_cast<unsigned long>(code));
  throw std::runtime_error(text);
}

}  // namespace morva
