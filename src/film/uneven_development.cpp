#include "film/uneven_development.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>
#include <vector>

#include "image/elementary.h"
#include "image/filters.h"
#include "image/noise.h"
#include "image/pairwise_sum.h"
#include "image/resample.h"

namespace morva {

namespace {

constexpr double kCellsPerMm = 2.0;
constexpr int kFewestCells = 8;
constexpr int kMostCells = 1024;        // half a metre of film
constexpr double kMostUneven = 1000.0;  // every cell has long stood at its limit

constexpr double kSurgeStrength = 0.16;
constexpr double kSurgeReachMm = 2.2;
constexpr double kSurgeWanderMm = 0.4;
constexpr double kSurgeWanderCells = 8.0;
constexpr double kSurgeWanderLimit = 1.8;

constexpr double kPerforationPitchMm = 4.75;
constexpr int kMostJets = 1024;
constexpr double kJetStrength = 0.14;
constexpr double kJetReachMm = 1.6;
constexpr double kJetWidthMm = 0.7;  // sigma

constexpr double kMottleStrength = 0.07;
constexpr double kMottleCells = 18.0;

constexpr float kLeastField = -0.75f;
constexpr float kMostField = 0.8f;

// Half-millimetre cells, the picture's long side along the rows.
struct FilmGrid {
  double long_mm = 0.0;
  double short_mm = 0.0;
  Image gain;

  double column_mm(int i) const { return (i + 0.5) * long_mm / gain.w; }
  double row_mm(int j) const { return (j + 0.5) * short_mm / gain.h; }
  // Distance of a row from one long edge of the film or the other.
  double from_edge_mm(int edge, int j) const {
    return edge == 0 ? row_mm(j) : short_mm - row_mm(j);
  }
};

int cells(double length_mm) {
  const double n = std::nearbyint(kCellsPerMm * length_mm);
  return static_cast<int>(std::clamp<double>(n, kFewestCells, kMostCells));
}

// A line of unit deviation that wanders along the film.
std::vector<float> wandering_line(int n, Rng& rng) {
  std::vector<float> line = gaussian_filter_line(rng.normals(static_cast<std::size_t>(n)),
                                                 kSurgeWanderCells, kBoundaryReflect);
  const double deviation = std::max(standard_deviation(line.data(), line.size()), 1e-6);
  for (float& v : line) v = static_cast<float>(static_cast<double>(v) / deviation);
  return line;
}

// Developer that enters between the reel and the film's edge runs fastest there and slows within
// two millimetres; how far it gets wanders along the strip.
void surge_from_edge(FilmGrid& grid, int edge, double strength, Rng& rng) {
  const std::vector<float> wander = wandering_line(grid.gain.w, rng);
  std::vector<double> reach_mm(wander.size());
  for (std::size_t i = 0; i < wander.size(); ++i)
    reach_mm[i] = kSurgeReachMm + kSurgeWanderMm * std::clamp<double>(wander[i], -kSurgeWanderLimit,
                                                                      kSurgeWanderLimit);
  for (int j = 0; j < grid.gain.h; ++j) {
    const double d = grid.from_edge_mm(edge, j);
    for (int i = 0; i < grid.gain.w; ++i)
      grid.gain.at(j, i) +=
          static_cast<float>(kSurgeStrength * strength * elementary::exp(-d / reach_mm[i]));
  }
}

// Each perforation is a nozzle: a jet of fresh developer leaves a dense tongue below it, one every
// pitch, no two alike. The frame's middle lies midway in its row of holes.
void jets_of_perforations(FilmGrid& grid, int edge, double strength, Rng& rng) {
  const int jets = static_cast<int>(
      std::clamp<double>(std::nearbyint(grid.long_mm / kPerforationPitchMm), 1.0, kMostJets));
  std::vector<double> along_film(static_cast<std::size_t>(grid.gain.w), 0.0);
  for (int jet = 0; jet < jets; ++jet) {
    const double centre_mm = grid.long_mm / 2.0 + (jet - (jets - 1) / 2.0) * kPerforationPitchMm;
    const double amplitude = rng.uniform(0.7, 1.3);
    for (int i = 0; i < grid.gain.w; ++i) {
      const double t = (grid.column_mm(i) - centre_mm) / kJetWidthMm;
      along_film[i] += amplitude * elementary::exp(-0.5 * t * t);
    }
  }
  for (int j = 0; j < grid.gain.h; ++j) {
    const double depth = elementary::exp(-grid.from_edge_mm(edge, j) / kJetReachMm);
    for (int i = 0; i < grid.gain.w; ++i)
      grid.gain.at(j, i) += static_cast<float>(kJetStrength * strength * depth * along_film[i]);
  }
}

// Where the bath stood still it tired: a slow mottle of about a centimetre.
void slow_mottle(FilmGrid& grid, double strength, Rng& rng) {
  const Image mottle = normalised_noise(rng, grid.gain.w, grid.gain.h, kMottleCells);
  const auto amplitude = static_cast<float>(kMottleStrength * strength);
  for (std::size_t i = 0; i < mottle.data.size(); ++i)
    grid.gain.data[i] += amplitude * mottle.data[i];
}

// Development time was set for the mean.
void balance_and_bound(Image& gain) {
  double sum = 0.0;
  for (const float g : gain.data) sum += g;
  const auto mean = static_cast<float>(sum / static_cast<double>(gain.data.size()));
  for (float& g : gain.data) g = std::clamp(g - mean, kLeastField, kMostField);
}

Image turned(const Image& grid) {
  Image out(grid.w, grid.h, 1);
  for (int j = 0; j < grid.h; ++j)
    for (int i = 0; i < grid.w; ++i) out.at(i, j) = grid.at(j, i);
  return out;
}

}  // namespace

std::optional<Image> uneven_field(int width, int height, double um_per_px,
                                  const std::string& format, double strength, Rng& rng) {
  if (!(strength > 0.0001) || width < 1 || height < 1) return std::nullopt;
  strength = std::min(strength, kMostUneven);
  FilmGrid grid;
  grid.long_mm = std::max(width, height) * um_per_px / 1000.0;
  grid.short_mm = std::min(width, height) * um_per_px / 1000.0;
  grid.gain = Image(cells(grid.short_mm), cells(grid.long_mm), 1);

  for (const int edge : {0, 1}) surge_from_edge(grid, edge, strength, rng);
  if (format == "135" || format == "half")
    for (const int edge : {0, 1}) jets_of_perforations(grid, edge, strength, rng);
  slow_mottle(grid, strength, rng);
  balance_and_bound(grid.gain);
  if (height > width) grid.gain = turned(grid.gain);
  return pil_resize(grid.gain, width, height, kResizeTriangle);
}

Image apply_uneven(Image density, const std::array<float, 3>& anchors, const Image& field,
                   const std::array<float, 3>& gains, float sign) {
  if (field.h != density.h || field.w != density.w || field.c != 1 || density.c > 3)
    throw std::logic_error("apply_uneven: поле не по размеру");
  float* p = density.data.data();
  for (const float local : field.data)
    for (int k = 0; k < density.c; ++k, ++p)
      *p = (sign * local * gains[k] + 1.0f) * (*p - anchors[k]) + anchors[k];
  return density;
}

}  // namespace morva
