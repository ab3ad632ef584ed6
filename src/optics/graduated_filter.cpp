#include "optics/graduated_filter.h"

#include <algorithm>
#include <array>
#include <numbers>
#include <vector>

#include "image/elementary.h"
#include "optics/filter_values.h"

namespace morva {

namespace {

constexpr double kSharpestEdge = 0.001;

std::array<double, 3> read_stops(const Json& filter) {
  if (!get(filter, "stops_rgb").is_null()) return channel_values(filter, "stops_rgb", {});
  const double stops = get_number(filter, "stops", 1.0);
  return {stops, stops, stops};
}

// Share of the full density at signed distance `d` below the line.
double density_share(const Graduation& g, double d) {
  const double t = std::clamp(0.5 - d / g.edge, 0.0, 1.0);
  const double share = (3.0 - 2.0 * t) * t * t;
  if (!g.reverse) return share;
  const double q = std::max(0.0, -d) / g.fading;
  return share * (elementary::exp(-q * q) * (1.0 - g.far_density) + g.far_density);
}

void hold_back(float* row, const std::vector<double>& shares, double stops, std::int32_t k,
               std::vector<float>& transmission) {
  for (std::size_t x = 0; x < shares.size(); ++x)
    transmission[x] = static_cast<float>(-stops * shares[x]);
  elementary::exp2f(transmission.data(), transmission.data(), transmission.size());
  for (std::size_t x = 0; x < shares.size(); ++x) row[3 * x + k] *= transmission[x];
}

}  // namespace

Graduation read_graduation(const Json& filter, double angle_deg, double position) {
  const double radians =
      turned_by(get_number(filter, "angle", 0.0), angle_deg) * std::numbers::pi / 180.0;
  const double half_edge = std::max(kSharpestEdge, get_number(filter, "edge_frac", 0.25));
  const Json& kind = get(filter, "grad");
  return {read_stops(filter),
          2.0 * half_edge,
          elementary::cos(radians),
          elementary::sin(radians),
          position,
          kind.is_string() && kind == "reverse",
          get_number(filter, "reverse_far", 0.45),
          3.0 * half_edge};
}

GraduationUnits graduation_units(std::int32_t h, std::int32_t w) {
  return {static_cast<float>(std::max(h, w)) / 2.0f, static_cast<float>(h - 1) / 2.0f,
          static_cast<float>(w - 1) / 2.0f};
}

Image apply_graduated_filter(Image image, const Json& filter, double angle_deg, double position) {
  const Graduation g = read_graduation(filter, angle_deg, position);
  const GraduationUnits units = graduation_units(image.h, image.w);
  std::vector<double> shares(static_cast<std::size_t>(image.w));
  std::vector<float> transmission(shares.size());
  for (std::int32_t y = 0; y < image.h; ++y) {
    const float v = (static_cast<float>(y) - units.centre_y) / units.half_long_px;
    for (std::size_t x = 0; x < shares.size(); ++x) {
      const float u = (static_cast<float>(x) - units.centre_x) / units.half_long_px;
      shares[x] = density_share(g, v * g.cos_angle - u * g.sin_angle - g.position);
    }
    float* row = image.data.data() + static_cast<std::size_t>(y) * image.row_samples();
    for (std::int32_t k = 0; k < 3; ++k) hold_back(row, shares, g.stops[k], k, transmission);
  }
  return image;
}

}  // namespace morva
