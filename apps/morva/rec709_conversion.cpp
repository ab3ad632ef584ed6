#include "rec709_conversion.h"

#include <cmath>
#include <cstddef>

#include "host_error.h"

namespace morva::host {
namespace {

using Column = std::array<double, 3>;

// The cone space of the linear Bradford adaptation (ICC.1, annex E).
constexpr ColourMatrix kBradford = {
    {{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};

Column times(const ColourMatrix& m, const Column& v) {
  Column result{};
  for (std::size_t i = 0; i < 3; ++i) {
    result[i] = m[i][0] * v[0] + m[i][1] * v[1] + m[i][2] * v[2];
  }
  return result;
}

ColourMatrix times(const ColourMatrix& a, const ColourMatrix& b) {
  ColourMatrix product{};
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) {
      product[i][j] = a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j];
    }
  }
  return product;
}

ColourMatrix inverse(const ColourMatrix& m) {
  const auto minor = [&](std::size_t i, std::size_t j) {
    const std::size_t r = (i + 1) % 3, s = (i + 2) % 3, c = (j + 1) % 3, d = (j + 2) % 3;
    return m[r][c] * m[s][d] - m[r][d] * m[s][c];
  };
  const double determinant = m[0][0] * minor(0, 0) + m[0][1] * minor(0, 1) + m[0][2] * minor(0, 2);
  if (!std::isfinite(determinant) || std::fabs(determinant) < 1e-9) {
    throw HostError(MORVA_FAILED, "the chromaticities of the file make no colour space");
  }
  ColourMatrix result{};
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) result[j][i] = minor(i, j) / determinant;
  }
  return result;
}

Column xyz_of(const Imath::V2f& xy) {
  return {xy.x / double{xy.y}, 1.0, (1.0 - xy.x - xy.y) / double{xy.y}};
}

ColourMatrix diagonal(const Column& v) {
  return {{{v[0], 0, 0}, {0, v[1], 0}, {0, 0, v[2]}}};
}

// RGB to XYZ: the primaries scaled so that together they make the white.
ColourMatrix rgb_to_xyz(const Imf::Chromaticities& c) {
  const Column red = xyz_of(c.red), green = xyz_of(c.green), blue = xyz_of(c.blue);
  ColourMatrix primaries{};
  for (std::size_t i = 0; i < 3; ++i) primaries[i] = {red[i], green[i], blue[i]};
  return times(primaries, diagonal(times(inverse(primaries), xyz_of(c.white))));
}

ColourMatrix adaptation(const Imath::V2f& from_white, const Imath::V2f& to_white) {
  const Column from = times(kBradford, xyz_of(from_white));
  const Column to = times(kBradford, xyz_of(to_white));
  const Column gains = {to[0] / from[0], to[1] / from[1], to[2] / from[2]};
  return times(inverse(kBradford), times(diagonal(gains), kBradford));
}

bool near(const Imath::V2f& a, const Imath::V2f& b) {
  // Written with three or four digits, the same primaries differ by this much.
  return std::fabs(a.x - b.x) < 1.5e-3f && std::fabs(a.y - b.y) < 1.5e-3f;
}

}  // namespace

std::optional<ColourMatrix> to_rec709(const Imf::Chromaticities& from) {
  const Imf::Chromaticities rec709;
  if (near(from.red, rec709.red) && near(from.green, rec709.green) &&
      near(from.blue, rec709.blue) && near(from.white, rec709.white)) {
    return std::nullopt;
  }
  return times(inverse(rgb_to_xyz(rec709)),
               times(adaptation(from.white, rec709.white), rgb_to_xyz(from)));
}

void apply(const ColourMatrix& matrix, Picture& picture) {
  float* pixel = picture.samples.get();
  float* const end = pixel + picture.row_samples() * static_cast<std::size_t>(picture.height);
  for (; pixel != end; pixel += 3) {
    const Column converted = times(matrix, Column{pixel[0], pixel[1], pixel[2]});
    for (std::size_t k = 0; k < 3; ++k) pixel[k] = static_cast<float>(converted[k]);
  }
}

}  // namespace morva::host
