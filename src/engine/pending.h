// Reproduction, whose models have not landed: each stage hands its picture on unchanged, at the
// place in the order where it will stand.
#pragma once

#include <optional>

#include "image/image.h"
#include "image/random.h"
#include "profiles/json_access.h"

namespace morva {

// A printing run takes one ink or three and always gives three channels.
inline Image apply_repro(Image print, const Json&, const Json&, Rng&, double) {
  if (print.c == 3) return print;
  Image sheet(print.h, print.w, 3);
  for (int k = 0; k < 3; ++k) store_channel(sheet, k, print);
  return sheet;
}
inline Image apply_surface(Image print, const Json&, const Json&, Rng&, double) {
  return print;
}
inline std::optional<double> crt_image_cm(const Json&, const Json&) {
  return std::nullopt;
}

}  // namespace morva
