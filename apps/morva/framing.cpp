#include "framing.h"

#include <morva.h>

#include <algorithm>
#include <array>
#include <optional>

namespace morva::host {
namespace {

using Json = nlohmann::json;
using Crop = std::array<double, 4>;  // x, y, w, h, fractions of the picture

constexpr double kTolerancePx = 1.0;

std::optional<Crop> crop_in(const Json& value) {
  const auto is_number = [](const Json& part) { return part.is_number(); };
  const bool plain =
      value.is_array() && value.size() == 4 && std::all_of(value.begin(), value.end(), is_number);
  return plain ? std::optional(value.get<Crop>()) : std::nullopt;
}

}  // namespace

std::string frame_straightened(int32_t width, int32_t height, Json& options) {
  const Json wanted = options.value("crop_angle", Json());
  const double angle = wanted.is_number() ? wanted.get<double>() : 0.0;
  if (angle == 0.0) return {};
  if (options.value("crop", Json()).is_null()) {
    Crop largest;
    morva_crop_fit_to_angle(nullptr, 0, angle, width, height, 0, nullptr, largest.data());
    options["crop"] = largest;
  }
  const std::optional<Crop> crop = crop_in(options["crop"]);
  if (!crop || morva_crop_fits(crop->data(), 1, angle, width, height, kTolerancePx)) return {};
  return "the crop reaches past the straightened picture, whose edges are drawn out to fill it";
}

}  // namespace morva::host
