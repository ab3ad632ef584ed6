#include "engine/color_difference.h"

#include <array>
#include <cmath>

namespace {

constexpr double kPi = 3.14159265358979323846;

double lab_curve(double t) {
  return t > 216.0 / 24389.0 ? std::cbrt(t) : (24389.0 / 27.0 * t + 16.0) / 116.0;
}

std::array<double, 3> lab_of(const float* rgb) {
  const double r = rgb[0], g = rgb[1], b = rgb[2];
  const double x = lab_curve((0.4124 * r + 0.3576 * g + 0.1805 * b) / 0.9505);
  const double y = lab_curve(0.2126 * r + 0.7152 * g + 0.0722 * b);
  const double z = lab_curve((0.0193 * r + 0.1192 * g + 0.9505 * b) / 1.0891);
  return {116.0 * y - 16.0, 500.0 * (x - y), 200.0 * (y - z)};
}

double hue(double a, double b) {
  const double h = std::atan2(b, a);
  return h < 0.0 ? h + 2.0 * kPi : h;
}

double pull(double c) {
  return std::sqrt(std::pow(c, 7.0) / (std::pow(c, 7.0) + std::pow(25.0, 7.0)));
}

}  // namespace

double color_difference(const float* a, const float* b) {
  const auto p = lab_of(a), q = lab_of(b);
  const double mean_c = (std::hypot(p[1], p[2]) + std::hypot(q[1], q[2])) / 2.0;
  const double g = 0.5 * (1.0 - pull(mean_c));
  const double a1 = (1.0 + g) * p[1], a2 = (1.0 + g) * q[1];
  const double c1 = std::hypot(a1, p[2]), c2 = std::hypot(a2, q[2]);
  const double h1 = hue(a1, p[2]), h2 = hue(a2, q[2]);
  double dh = c1 * c2 == 0.0 ? 0.0 : h2 - h1;
  if (dh > kPi) dh -= 2.0 * kPi;
  if (dh < -kPi) dh += 2.0 * kPi;
  const double dl = q[0] - p[0], dc = c2 - c1,
               big_dh = 2.0 * std::sqrt(c1 * c2) * std::sin(dh / 2.0);
  const double l = (p[0] + q[0]) / 2.0, c = (c1 + c2) / 2.0;
  double h = h1 + h2;
  if (c1 * c2 != 0.0) {
    if (std::fabs(h1 - h2) > kPi) h += h < 2.0 * kPi ? 2.0 * kPi : -2.0 * kPi;
    h /= 2.0;
  }
  const double degree = kPi / 180.0;
  const double t = 1.0 - 0.17 * std::cos(h - 30.0 * degree) + 0.24 * std::cos(2.0 * h) +
                   0.32 * std::cos(3.0 * h + 6.0 * degree) -
                   0.20 * std::cos(4.0 * h - 63.0 * degree);
  const double turn = 30.0 * degree * std::exp(-std::pow((h / degree - 275.0) / 25.0, 2.0));
  const double sl =
      1.0 + 0.015 * (l - 50.0) * (l - 50.0) / std::sqrt(20.0 + (l - 50.0) * (l - 50.0));
  const double sc = 1.0 + 0.045 * c, sh = 1.0 + 0.015 * c * t;
  const double rt = -std::sin(2.0 * turn) * 2.0 * pull(c);
  const double x = dl / sl, y = dc / sc, z = big_dh / sh;
  return std::sqrt(x * x + y * y + z * z + rt * y * z);
}
