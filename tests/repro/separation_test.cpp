// Plates of four inks: the colour that they give back on the sheet, the press and its inverse, the
// limit on ink, and the vector loops against one pixel worked out alone.

#include "repro/separation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "image/on_every_isa.h"

namespace morva {
namespace {

constexpr DotGain kInkjetGain = {0.25, 0.85}, kOffsetGain = {0.16, 0.85};
const char* const kInkSets[] = {"inkjet_office", "inkjet_photo", "offset_coated",
                                "offset_newsprint", "offset_art"};

SeparationPlan plan_of(const std::string& inks, const DotGain& gain, double gcr, double tac = 0.0) {
  return {ink_set(inks), gcr, tac, gain};
}

using Plates = std::array<std::vector<float>, kInks>;

Plates blank_plates(std::size_t n) {
  const std::vector<float> blank(n);
  return {blank, blank, blank, blank};
}

Plates plates_of(const std::vector<float>& rgb, const SeparationPlan& plan) {
  Plates p = blank_plates(rgb.size() / 3);
  float* const planes[kInks] = {p[0].data(), p[1].data(), p[2].data(), p[3].data()};
  separate(rgb.data(), p[0].size(), plan, planes);
  return p;
}

std::vector<float> random_numbers(std::size_t n, float low = 0.0f, float high = 1.0f) {
  std::mt19937 random(static_cast<unsigned>(n));
  std::uniform_real_distribution<float> uniform(low, high);
  std::vector<float> numbers(n);
  for (float& v : numbers) v = uniform(random);
  return numbers;
}

std::vector<float> printed(const Plates& p, const InkSet& inks) {
  const float* const planes[kInks] = {p[0].data(), p[1].data(), p[2].data(), p[3].data()};
  std::vector<float> rgb(3 * p[0].size());
  overprint(planes, inks.data(), kInks, {1.0f, 1.0f, 1.0f}, p[0].size(), rgb.data());
  return rgb;
}

Plates pressed(Plates plates, const DotGain& gain) {
  for (std::vector<float>& plane : plates) press(plane.data(), plane.size(), gain);
  return plates;
}

// 10,000 colours of random plates of `inks` inks go through the machine and are asked for again.
// Where a coloured ink ends as a solid, the black that the plan allows is too little for so dark a
// colour; anything else has to come back.
void goes_round(const std::string& name, const DotGain& gain, double gcr, int inks) {
  Plates plates = blank_plates(10000);
  const std::vector<float> random = random_numbers(10000 * static_cast<std::size_t>(inks));
  for (std::size_t i = 0; i < random.size(); ++i) plates[i / 10000][i % 10000] = random[i];
  const SeparationPlan plan = plan_of(name, gain, gcr);
  const std::vector<float> asked = printed(pressed(plates, gain), plan.inks);
  const Plates landed = pressed(plates_of(asked, plan), gain);
  const std::vector<float> got = printed(landed, plan.inks);
  float within_reach = 0.0f, too_dark = 0.0f, too_light = 0.0f;
  for (std::size_t i = 0; i < got.size(); ++i) {
    const auto solid = [&](Ink ink) { return landed[ink][i / 3] > 0.9999f; };
    const float error = got[i] - asked[i];
    too_dark = std::max(too_dark, -error);
    if (solid(kCyan) || solid(kMagenta) || solid(kYellow))
      too_light = std::max(too_light, error);
    else
      within_reach = std::max(within_reach, std::fabs(error));
  }
  const auto what = testing::Message() << name << ", gain " << gain.gain << ", " << inks << " inks";
  EXPECT_LT(within_reach, 0.001f) << what;
  EXPECT_LT(too_dark, 0.001f) << what;
  EXPECT_LT(too_light, inks == 3 ? 0.001f : 0.035f) << what;
}

TEST(Separation, ColoursWithinAnInkSetsReachComeBack) {
  for (const char* name : kInkSets)
    for (int inks : {3, 4}) {
      goes_round(name, kInkjetGain, 0.7, inks);
      goes_round(name, kOffsetGain, 0.75, inks);
    }
}

TEST(Separation, BlackAlonePrintsAGrey) {
  SeparationPlan plan = plan_of("offset_coated", kOffsetGain, 0.75);
  Plates plates = blank_plates(5);
  const std::vector<float> gray = {1.0f, 0.5f, 0.1f, 0.03f, NAN};
  separate_mono(gray.data(), 5, plan, plates[kBlack].data());
  const std::vector<float> sheet = printed(pressed(plates, plan.gain), plan.inks);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(gray[i], sheet[3 * i + 1], 1e-3f);
  EXPECT_EQ(1.0f, plates[kBlack][4]);
}

TEST(DotGain, APlateValueLandsAsWhatWasAskedFor) {
  std::vector<float> asked = random_numbers(20000);
  asked[0] = 0.0f, asked[1] = 1.0f, asked[2] = 1e-7f, asked[3] = 0.9999999f;
  for (double gain : {0.0, 1e-12, 1e-7, 1e-4, 0.01, 0.16, 0.2499, 0.25, 0.4})
    for (double compensation : {0.0, 1e-5, 0.5, 0.85, 1.0}) {
      std::vector<float> v = asked;
      plate_values(v.data(), v.size(), {gain, compensation});
      press(v.data(), v.size(), {gain, compensation});
      float worst = 0.0f;
      for (std::size_t i = 0; i < v.size(); ++i)
        worst = std::max(worst, std::fabs(v[i] - asked[i]));
      EXPECT_LT(worst, 1e-6f) << gain << " " << compensation;
    }
  float half = 0.5f;
  press(&half, 1, {0.2, 0.0});
  EXPECT_FLOAT_EQ(0.7f, half);  // by its definition
}

TEST(Separation, WhatIsNoNumberLeavesSoundPlates) {
  constexpr float inf = std::numeric_limits<float>::infinity();
  const std::vector<float> rgb = {NAN, 0.5f, 2.0f, inf, -inf, -1.0f, 0.0f, 0.0f, 0.0f};
  const auto is_coverage = [](float v) { return v >= 0.0f && v <= 1.0f; };
  for (const double odd : {double{NAN}, double{inf}, -double{inf}, 1e30, -1e30, 1e308, 1e-308})
    for (int which = 0; which < 4; ++which) {
      SeparationPlan plan = plan_of("inkjet_office", kInkjetGain, 0.7);
      double* const numbers[] = {&plan.gcr, &plan.tac, &plan.gain.gain, &plan.gain.compensation};
      *numbers[which] = odd;
      plan.inks[kMagenta] = {NAN, inf, -1.0f};
      const Plates plates = plates_of(rgb, plan);
      for (const Plates& p : {plates, pressed(plates, plan.gain)}) {
        for (const std::vector<float>& plane : p)
          EXPECT_TRUE(std::ranges::all_of(plane, is_coverage)) << odd << " " << which;
        EXPECT_TRUE(std::ranges::all_of(printed(p, plan.inks), is_coverage)) << odd << which;
      }
    }
}

// One pixel, as plainly as it can be said.
struct PlainPixel {
  InkSet f;  // what each ink takes out
  float c = 0.0f, m = 0.0f, y = 0.0f;

  static float unit(float v) { return std::clamp(v, 0.0f, 1.0f); }
  void solve(const std::array<float, 3>& t, int rounds) {
    const auto left = [](float a, float b) { return std::max(1e-6f, (1.0f - a) * (1.0f - b)); };
    for (int i = 0; i < rounds; ++i) {
      c = unit((1.0f - t[0] / left(f[kMagenta][0] * m, f[kYellow][0] * y)) / f[kCyan][0]);
      m = unit((1.0f - t[1] / left(f[kCyan][1] * c, f[kYellow][1] * y)) / f[kMagenta][1]);
      y = unit((1.0f - t[2] / left(f[kMagenta][2] * m, f[kCyan][2] * c)) / f[kYellow][2]);
    }
  }
  std::array<float, 4> plates(std::array<float, 3> t, const SeparationPlan& plan) {
    for (int i = 0; i < 12; ++i)
      f[i / 3][i % 3] = 1.0f - std::clamp(plan.inks[i / 3][i % 3], 0.0001f, 0.9999f);
    for (float& v : t) v = std::clamp(v, 0.0001f, 1.0f);
    c = unit((1.0f - t[0]) / f[kCyan][0]);
    m = unit((1.0f - t[1]) / f[kMagenta][1]);
    y = unit((1.0f - t[2]) / f[kYellow][2]);
    solve(t, plan.iterations);
    const float k = unit(std::min({c, m, y}) * static_cast<float>(plan.gcr));
    for (int i = 0; i < 3; ++i)
      t[i] = std::clamp(t[i] / std::max(1e-6f, 1.0f - f[kBlack][i] * k), 0.0001f, 1.0f);
    solve(t, plan.iterations);
    std::array<float, 4> p = {c, m, y, k};
    plate_values(p.data(), 4, plan.gain);
    const float room = std::max(0.0f, static_cast<float>(plan.tac) - p[3]);
    const float total = (p[1] + p[0]) + p[2];
    if (plan.tac > 0.0 && total > room)
      for (int i = 0; i < 3; ++i) p[i] *= room / std::max(1e-6f, total);
    return p;
  }
};

class SeparationLoops : public OnEveryIsa {};
INSTANTIATE_TEST_SUITE_P(, SeparationLoops, testing::ValuesIn(available_isas()), isa_name);

TEST_P(SeparationLoops, EachPixelIsSeparatedAsIfAlone) {
  for (std::size_t n : {1, 2, 3, 15, 16, 17, 127, 128, 129, 1009})
    for (const SeparationPlan& plan : {plan_of("offset_newsprint", {0.3, 0.6}, 0.75, 2.4),
                                       plan_of("inkjet_photo", kInkjetGain, 0.7)}) {
      const std::vector<float> rgb = random_numbers(3 * n, -0.05f, 1.05f);
      const Plates plates = plates_of(rgb, plan);
      for (std::size_t i = 0; i < n; ++i) {
        const auto alone = PlainPixel().plates({rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]}, plan);
        for (std::size_t ink = 0; ink < kInks; ++ink)
          ASSERT_EQ(alone[ink], plates[ink][i]) << "pixel " << i << " of " << n;
      }
    }
}

}  // namespace
}  // namespace morva
