#include "repro/tube_light.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "image/elementary.h"
#include "image/filters.h"
#include "image/held.h"

namespace morva {

namespace {

constexpr double kLeastGlow = 0.0001;
constexpr double kSharpestPx = 0.3;
constexpr int kSteps = 1024;
constexpr float kMostLight = 4.0f;  // that the response tells apart

// A tube's own gamma is 2.35 (Roberts, EBU Technical Review 257, 1993), the signal's 2.2.
constexpr double kGammaExcess = 2.35 / 2.2;
// Above it the camera, exposed for the picture as a whole, holds the phosphors' peaks back.
constexpr double kShoulder = 0.6;

constexpr double kBluishK = 7000.0;
// Light of 9300 K against 6500 K, linear RGB.
constexpr std::array<double, 3> kBluishWhite = {0.846, 1.011, 1.343};
constexpr double kMostAdaptation = 10.0;

// A blur of more than the picture's long side would leave no picture.
double held_sigma(double sigma_px, const Image& picture) {
  return held(sigma_px, 0.0, std::max(picture.h, picture.w));
}

std::array<float, 3> white_gains(const ScreenColour& colour) {
  std::array<float, 3> gains = {1.0f, 1.0f, 1.0f};
  if (!(colour.white_k > kBluishK)) return gains;
  const double adapt = std::clamp(colour.adapt, -kMostAdaptation, kMostAdaptation);
  std::array<double, 3> powers;
  for (int k = 0; k < 3; ++k) powers[k] = elementary::pow(kBluishWhite[k], adapt);
  const double mean = (powers[0] + powers[1] + powers[2]) / 3.0;
  for (int k = 0; k < 3; ++k) gains[k] = static_cast<float>(powers[k] / mean);
  return gains;
}

void respond(const std::vector<float>& table, float* row, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    const float light = row[i] > 0.0f ? std::min(row[i], kMostLight) : 0.0f;
    const float at = light * 0.25f * kSteps;
    const int step = std::min(static_cast<int>(at), kSteps - 1);
    row[i] = table[step] + (at - static_cast<float>(step)) * (table[step + 1] - table[step]);
  }
}

void colour_row(const std::array<float, 3>& gains, const std::optional<std::array<float, 3>>& tint,
                float* p, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i, p += 3) {
    for (int k = 0; k < 3; ++k) p[k] *= gains[k];
    if (tint) {
      const float light = kLumaR * p[0] + kLumaG * p[1] + kLumaB * p[2];
      for (int k = 0; k < 3; ++k) p[k] = light * (*tint)[k];
    }
    for (int k = 0; k < 3; ++k) p[k] = std::min(p[k], 1.0f);
  }
}

}  // namespace

Image glow(Image picture, double share, double sigma_px) {
  const double mixed = held(share, 0.0, 1.0);
  const double sigma = held_sigma(sigma_px, picture);
  if (mixed <= kLeastGlow || sigma <= 0.0) return picture;
  const Image spread = blur_image(picture, sigma);
  const auto scattered = static_cast<float>(mixed), direct = static_cast<float>(1.0 - mixed);
  for (std::size_t i = 0; i < picture.data.size(); ++i)
    picture.data[i] = scattered * spread.data[i] + direct * picture.data[i];
  return picture;
}

Image photograph(Image picture, double sigma_px) {
  const double sigma = held_sigma(sigma_px, picture);
  return sigma < kSharpestPx ? std::move(picture) : blur_image(picture, sigma);
}

std::vector<float> tube_response() {
  const auto photographed = [](double signal) {
    const double light = elementary::pow(signal, kGammaExcess);
    const double over = std::max(0.0, light - kShoulder) / (1.0 - kShoulder);
    return std::min(light, kShoulder) + (1.0 - kShoulder) * over / (1.0 + over);
  };
  const double most = static_cast<double>(kMostLight), white = photographed(most);
  std::vector<float> table(kSteps + 1);
  for (int i = 0; i <= kSteps; ++i)
    table[i] = static_cast<float>(photographed(i * most / kSteps) / white);
  return table;
}

std::array<float, 3> phosphor_tint(const std::string& name) {
  if (name == "green") return {0.12f, 1.0f, 0.3f};
  if (name == "amber") return {1.0f, 0.52f, 0.1f};
  if (name == "white") return {0.7f, 0.86f, 1.0f};
  throw std::out_of_range("invalid map<K, T> key");
}

void show_light(Image& picture, const ScreenColour& colour) {
  const std::vector<float> response = tube_response();
  const std::array<float, 3> gains = white_gains(colour);
  const std::size_t n = picture.row_samples();
  for (int y = 0; y < picture.h; ++y) {
    float* row = &picture.at(y, 0);
    respond(response, row, n);
    colour_row(gains, colour.tint, row, n / 3);
  }
}

}  // namespace morva
