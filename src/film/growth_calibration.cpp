#include "film/growth_calibration.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <map>
#include <mutex>
#include <numbers>
#include <string>

#include "film/granularity.h"
#include "film/growth_simulation.h"
#include "image/elementary.h"
#include "image/filters.h"

namespace morva {

namespace {

constexpr int kSheetPerSide = 3;
constexpr double kLeastTransmission = 1e-4;
constexpr double kTrialSilverSigma = 0.1;
constexpr double kTrialDyeSigma = 0.08;
constexpr double kTrialUnit = 0.05;
constexpr double kMostSilverSigma = 0.6;
constexpr double kMostDyeSigma = 0.3;
constexpr double kLeastUnit = 0.002;
constexpr double kMostUnit = 0.5;
constexpr double kRateShare = 0.35;       // of a dye's granularity that comes from its rate
constexpr double kLeastGrainShare = 0.1;  // and the least that is left to its grains

static_assert(kCalibrationSubUm * kSheetPerSide == kSheetPxUm);

const SubSampling kSheet = {kSheetPerSide, kCalibrationSubUm};

GrowthDraws measurement_draws() {
  return {{kMeasurementKey}, true, nullptr};
}

double granularity(Image transmission) {
  transmission = gaussian_filter(transmission, kSpotUm / kSheetPxUm, kBoundaryReflect);
  for (float& t : transmission.data)
    t = -elementary::log10f(std::max(t, static_cast<float>(kLeastTransmission)));
  return rms_aperture(transmission, kSheetPxUm);
}

double silver_granularity(double size_um, double sigma) {
  const Image lambda(kSheetSide, kSheetSide, 1, static_cast<float>(std::numbers::ln10));
  const SilverGrains grains = {silver_shadow_um(size_um), silver_reach_um(size_um, 1.0), sigma};
  return granularity(grow_silver(lambda, kSheet, grains, measurement_draws()));
}

double dye_granularity(double size_um, double layer_size_scale, double sigma) {
  const Image density(kSheetSide, kSheetSide, 1, 1.0f);
  const DyeGrains grains = {kTrialUnit, dye_cloud_um(size_um, layer_size_scale, 1.0),
                            dye_reach_um(size_um, 1.0), sigma};
  return granularity(grow_dye(density, kSheet, grains, measurement_draws()));
}

// How far a number goes in a key of the caches. What is calibrated is the number in the key, so
// that a render never depends on a neighbour of its film that came before.
struct Rounded {
  double value;
  int decimals;
};

double rounded(double value, int decimals) {
  double unit = 1.0;
  for (int i = 0; i < decimals; ++i) unit *= 10.0;
  return std::nearbyint(value * unit) / unit;
}

std::string cache_key(const char* prefix, std::initializer_list<Rounded> numbers) {
  std::string key = prefix;
  for (const Rounded& number : numbers) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", number.decimals, number.value);
    if (key.back() != '|') key += '|';
    key += text;
  }
  return key;
}

template <typename Value>
class Cache {
 public:
  // Two threads may make the same entry at once; both make the same.
  template <typename Make>
  Value get(const std::string& key, const Make& make) {
    {
      const std::lock_guard lock(mutex_);
      if (const auto found = entries_.find(key); found != entries_.end()) return found->second;
    }
    const Value value = make();
    const std::lock_guard lock(mutex_);
    return entries_.emplace(key, value).first->second;
  }

 private:
  std::mutex mutex_;
  std::map<std::string, Value> entries_;
};

// Granularity grows linearly in sigma where it is small: one secant step.
double measure_silver_sigma(double size_um, double amount, double dmin, double dmax) {
  const Json grain = {{"amount", amount}, {"size_um", size_um}};
  const double wanted = classic_sigma48(grain, dmin, dmax);
  const double s0 = silver_granularity(size_um, 0.0);
  const double s1 = silver_granularity(size_um, kTrialSilverSigma);
  const double missing = std::sqrt(std::max(wanted * wanted - s0 * s0, 0.0));
  const double per_sigma = std::sqrt(std::max(s1 * s1 - s0 * s0, 1e-12)) / kTrialSilverSigma;
  return std::clamp(missing / per_sigma, 0.0, kMostSilverSigma);
}

// A share of the variance goes to the rate, the rest to the grains.
void calibrate_layer(double wanted, double s0, double s1, double& sigma, double& unit) {
  const double of_trial_rate = std::max(s1 * s1 - s0 * s0, 0.0);
  sigma = std::clamp(
      std::sqrt(kRateShare) * wanted / std::max(std::sqrt(of_trial_rate), 1e-9) * kTrialDyeSigma,
      0.0, kMostDyeSigma);
  const double trials = sigma / kTrialDyeSigma;
  const double left = std::max(wanted * wanted * kLeastGrainShare,
                               wanted * wanted - trials * trials * (s1 * s1 - s0 * s0));
  unit = std::clamp(left * kTrialUnit / std::max(s0 * s0, 1e-12), kLeastUnit, kMostUnit);
}

DyeCalibration measure_dyes(const DyeStock& stock) {
  const Json grain = {{"amount", stock.amount},
                      {"size_um", stock.size_um},
                      {"layer_scale", stock.layer_scale},
                      {"layer_size_scale", stock.layer_size_scale}};
  const std::array<double, 3> wanted = classic_sigma48_color(grain, stock.dmin, stock.dmax);
  DyeCalibration calibration = {};
  std::array<double, 3> s0 = {}, s1 = {};
  for (std::size_t k = 0; k < 3; ++k) {
    const double scale = stock.layer_size_scale[k];
    if (k > 0 && scale == stock.layer_size_scale[k - 1]) {
      s0[k] = s0[k - 1];
      s1[k] = s1[k - 1];
    } else {
      s0[k] = dye_granularity(stock.size_um, scale, 0.0);
      s1[k] = dye_granularity(stock.size_um, scale, kTrialDyeSigma);
    }
    calibrate_layer(wanted[k], s0[k], s1[k], calibration.sigma[k], calibration.unit[k]);
  }
  return calibration;
}

}  // namespace

double silver_shadow_um(double size_um) {
  return std::clamp(size_um * 0.5 / 14.0, 0.25, 0.9);
}

double silver_reach_um(double size_um, double size_mult) {
  return std::max(3.0, size_um * 0.5) * std::max(0.1, size_mult);
}

double dye_reach_um(double size_um, double size_mult) {
  return std::max(6.0, size_um) * size_mult;
}

double dye_cloud_um(double size_um, double layer_size_scale, double size_mult) {
  return size_um * 0.3 * layer_size_scale * size_mult;
}

double silver_sigma(double size_um, double amount, double dmin, double dmax) {
  static Cache<double> cache;
  const double a = rounded(amount, 5), s = rounded(size_um, 2);
  const double low = rounded(dmin, 5), high = rounded(dmax, 5);
  const std::string key =
      cache_key("bw|", {{a, 5}, {s, 2}, {kCalibrationSubUm, 3}, {low, 5}, {high, 5}});
  return cache.get(key, [&] { return measure_silver_sigma(s, a, low, high); });
}

DyeCalibration calibrate_dyes(const DyeStock& stock) {
  static Cache<DyeCalibration> cache;
  DyeStock s = stock;
  s.amount = rounded(stock.amount, 5);
  s.size_um = rounded(stock.size_um, 2);
  std::string key = cache_key("color|", {{s.amount, 5}, {s.size_um, 2}, {kCalibrationSubUm, 3}});
  for (std::size_t k = 0; k < 3; ++k) {
    s.layer_scale[k] = rounded(stock.layer_scale[k], 5);
    s.layer_size_scale[k] = rounded(stock.layer_size_scale[k], 5);
    s.dmin[k] = rounded(stock.dmin[k], 5);
    s.dmax[k] = rounded(stock.dmax[k], 5);
    key = cache_key(
        key.c_str(),
        {{s.layer_scale[k], 5}, {s.layer_size_scale[k], 5}, {s.dmin[k], 5}, {s.dmax[k], 5}});
  }
  return cache.get(key, [&s] { return measure_dyes(s); });
}

}  // namespace morva
