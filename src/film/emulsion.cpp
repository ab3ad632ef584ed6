#include "film/emulsion.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "image/elementary.h"
#include "image/filters.h"

namespace morva {

namespace {

constexpr double kSmallestSigmaPx = 0.18;

double in_pixels(double um, double px_um) {
  return um / std::max(px_um, 1e-6);
}

void add_edge_effect(Image& density, const AdjacencyTerm& term) {
  const auto k = static_cast<float>(term.k);
  const auto sat = static_cast<float>(term.sat);
  const float bound = k * sat;
  Image blurred = blur_image(density, term.sigma_px);
  float* difference = blurred.data.data();
  const std::size_t n = density.data.size();
  for (std::size_t i = 0; i < n; ++i) difference[i] = density.data[i] - difference[i];
  if (term.sat >= kUnsaturated) {
    for (std::size_t i = 0; i < n; ++i) density.data[i] += difference[i] * k;
    return;
  }
  for (std::size_t i = 0; i < n; ++i) difference[i] /= sat;
  elementary::tanhf(difference, difference, n);
  for (std::size_t i = 0; i < n; ++i) density.data[i] += difference[i] * bound;
}

}  // namespace

// Half response of a Gaussian at frequency f: exp(-2 (pi sigma f)^2) = 1/2.
double emulsion_sigma_px(const Json& film, double px_um) {
  const double f50_cyc_mm = get_number_or(get(film, "mtf"), "f50_cyc_mm", 0.0, 0.0);
  if (f50_cyc_mm <= 0.0) return 0.0;
  const double sigma_mm = std::sqrt(elementary::log(2.0) / 2.0) / (f50_cyc_mm * std::numbers::pi);
  const double sigma_px = in_pixels(sigma_mm * 1000.0, px_um);
  return sigma_px < kSmallestSigmaPx ? 0.0 : sigma_px;
}

Image emulsion_blur(Image image, const Json& film, double px_um) {
  const double sigma_px = emulsion_sigma_px(film, px_um);
  if (sigma_px == 0.0) return image;
  return blur_image(image, sigma_px);
}

std::vector<AdjacencyTerm> adjacency_terms(const Json& film, double px_um) {
  constexpr double weakest = 0.0001;
  constexpr double smallest_sigma_px = 0.8;
  std::vector<AdjacencyTerm> terms;
  if (const double k = get_number(film, "_adjacency", 0.0); k > weakest) {
    const double s = in_pixels(get_number(film, "_adjacency_um", 150.0), px_um);
    terms.push_back({k, std::max(smallest_sigma_px, s), get_number(film, "_adjacency_sat", 0.3)});
  }
  const Json& own = get_object(film, "adjacency");
  if (const double k = get_number(own, "k", 0.0); k > weakest) {
    const double s = in_pixels(get_number(own, "um", 150.0), px_um);
    if (s >= 1.0) terms.push_back({k, std::max(smallest_sigma_px, s), get_number(own, "sat", 0.6)});
  }
  std::erase_if(terms, [](const AdjacencyTerm& term) { return term.sat == 0.0; });
  return terms;
}

Image adjacency(Image density, const Json& film, double px_um) {
  for (const AdjacencyTerm& term : adjacency_terms(film, px_um)) add_edge_effect(density, term);
  return density;
}

}  // namespace morva
