#include "image/elementary.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "image/error_function.h"
#include "image/vector/isa.h"
#include "image/vector/single_exponential.h"

namespace {

namespace elementary = morva::elementary;
using Real = std::function<double(double)>;
using Exact = std::function<long double(long double)>;
using Sampler = std::function<double(std::mt19937_64&)>;

constexpr double kInf = INFINITY, kNaN = NAN;

Sampler uniform(double a, double b) {
  return [=](std::mt19937_64& rng) { return std::uniform_real_distribution<double>(a, b)(rng); };
}

Sampler log_uniform(double a, double b) {
  return [=](std::mt19937_64& rng) {
    return std::exp2(std::uniform_real_distribution<double>(a, b)(rng));
  };
}

template <typename T>
double ulps(T got, long double want) {
  const T nearest = static_cast<T>(want);
  if (got == nearest || (std::isnan(got) && std::isnan(want))) {
    if (std::isinf(got) || std::isnan(got)) return 0.0;
  } else if (!std::isfinite(got) || !std::isfinite(nearest)) {
    return kInf;
  }
  int exponent = 0;
  std::frexp(nearest, &exponent);
  const int lowest = std::numeric_limits<T>::min_exponent - std::numeric_limits<T>::digits;
  const int unit = std::max(exponent - std::numeric_limits<T>::digits, lowest);
  return static_cast<double>(std::fabs(static_cast<long double>(got) - want) /
                             std::ldexp(1.0L, unit));
}

void expect_within(const char* name, double limit, const Real& f, const Exact& exact,
                   const Sampler& sample, int count = 200000) {
  std::mt19937_64 rng(20260821);
  double worst = 0.0, at = 0.0;
  for (int i = 0; i < count; ++i) {
    const double x = sample(rng);
    const double error = ulps(f(x), exact(x));
    if (!(error <= worst)) worst = error, at = x;
  }
  EXPECT_LE(worst, limit) << name << ": " << worst << " ulp at " << std::hexfloat << at;
}

}  // namespace

TEST(Elementary, DoubleFormsStayWithinTheirUlps) {
  struct Form {
    const char* name;
    double limit;
    Real real;
    Exact exact;
    std::vector<Sampler> samples;
    std::vector<double> special;  // to the bit: signs of zero, infinities, subnormals
  };
  // The last of the far ones is the double nearest to a multiple of pi/2 of all.
  const auto near_quarter_turns = [](std::mt19937_64& rng) {
    const double far_ones[] = {1e22, 0x1.fffffffffffffp1023, 0x1.6ac5b262ca1ffp+849};
    const auto turns = static_cast<long double>(rng() % 3003);
    const double x = turns < 3000 ? static_cast<double>(std::numbers::pi_v<long double> / 2 * turns)
                                  : far_ones[static_cast<int>(turns) - 3000];
    const std::uint64_t side = rng() % 3;
    return side == 0 ? x : std::nextafter(x, side == 1 ? 0.0 : kInf);
  };
  const std::vector<Sampler> positive = {uniform(0.4, 2.5), log_uniform(-1074, 1023.9)};
  const std::vector<Sampler> angles = {uniform(-10, 10), uniform(-1700, 1700), uniform(-1e9, 1e9),
                                       log_uniform(-60, 1023.9), near_quarter_turns};
  const std::vector<double> odd = {-0.0, 0x1p-1074, -0x1p-1022, kInf, -kInf, kNaN};
  const std::vector<double> ends = {-0.0, 0x1p-1074, -745.13, 710.0, kInf, -kInf, kNaN};
  const std::vector<double> zeros = {0.0, -0.0, 1.0, -1.0, kInf, -kInf, kNaN};
  const std::vector<double> far = {-30.0, 0.0, 1e300, kInf, -kInf, kNaN};
  const Form forms[] = {
      {"exp", 1.0, elementary::exp, expl, {uniform(-2, 2), uniform(-746, 710)}, ends},
      {"log", 1.0, elementary::log, logl, positive, zeros},
      {"log10", 1.0, elementary::log10, log10l, positive, zeros},
      {"sin", 1.0, elementary::sin, sinl, angles, odd},
      {"cos", 1.0, elementary::cos, cosl, angles, odd},
      {"tan", 1.0, elementary::tan, tanl, angles, odd},
      {"atan", 1.0, elementary::atan, atanl, {uniform(-4, 4), log_uniform(-60, 70)}, odd},
      {"tanh", 1.0, elementary::tanh, tanhl, {uniform(-1, 1), log_uniform(-60, 6)}, odd},
      {"erf", 4.0, elementary::erf, erfl, {uniform(-7, 7), log_uniform(-1000, 3)}, far},
      {"erfc", 9.0, elementary::erfc, erfcl, {uniform(-7, 7), uniform(0, 26.5)}, far}};
  for (const Form& form : forms) {
    for (const Sampler& sample : form.samples)
      expect_within(form.name, form.limit, form.real, form.exact, sample);
    for (const double x : form.special) {
      const double got = form.real(x), want = static_cast<double>(form.exact(x));
      EXPECT_TRUE((std::isnan(got) && std::isnan(want)) ||
                  (got == want && std::signbit(got) == std::signbit(want)))
          << form.name << " of " << x << ": " << got << ", " << want;
    }
  }
}

TEST(Elementary, Atan2StaysWithinTwoUlpsInEveryQuadrant) {
  for (const double x : {1.0, -1.0, 3.7, -0.02, -1e200}) {
    const Real angle = [=](double y) { return elementary::atan2(y, x); };
    const Exact exact = [=](long double y) { return std::atan2(y, static_cast<long double>(x)); };
    for (const Sampler& sample : {uniform(-4, 4), log_uniform(-900, 900)})
      expect_within("atan2", 2.0, angle, exact, sample, 40000);
  }
  for (const double y : {0.0, -0.0, 2.0, -2.0, kInf, -kInf})
    for (const double x : {0.0, -0.0, 5.0, -5.0, kInf, -kInf})
      EXPECT_DOUBLE_EQ(std::atan2(y, x), elementary::atan2(y, x)) << y << ", " << x;
}

TEST(Elementary, PowStaysWithinTwoUlps) {
  for (const double y : {2.2, -1.7, 0.5, 30.0, -120.0, 1e-3, 1000.0, 1e7}) {
    const Real power = [=](double x) { return elementary::pow(x, y); };
    const Exact exact = [=](long double x) { return std::pow(x, static_cast<long double>(y)); };
    for (const Sampler& sample :
         {log_uniform(-10, 10), uniform(0.99, 1.01), log_uniform(-1074, 1023.9)})
      expect_within("pow", 2.0, power, exact, sample, 40000);
  }
  for (const double y : {0.0, -0.0, 0x1p-1074, 0.5, 1.0, 2.0, 3.0, 1e300, kInf, kNaN})
    for (const double x : {0.0, 0x1p-1074, 0.25, 0x1.fffffffffffffp-1, 1.0, 0x1.0000000000001p0,
                           4.0, 0x1.fffffffffffffp1023, kInf, kNaN})
      for (const double power : {y, -y}) {
        const double got = elementary::pow(x, power), want = std::pow(x, power);
        if (!std::isnan(got) || !std::isnan(want)) {
          EXPECT_DOUBLE_EQ(got, want) << x << "^" << power;
        }
      }
  EXPECT_EQ(elementary::pow(-3.0, 0.0), 1.0);
  EXPECT_TRUE(std::isnan(elementary::pow(-2.0, 2.0)));
}

// The forms that trade the last bits for speed.
TEST(Elementary, QuickFormsKeepTheirBounds) {
  namespace formula = elementary::formula;
  std::mt19937_64 rng(1);
  double worst = 0.0;
  for (int i = 0; i < 300000; ++i) {
    const auto x = static_cast<float>(uniform(-87, 88)(rng));
    const auto y = static_cast<float>(uniform(-37, 38)(rng));
    worst = std::max(
        {worst, std::fabs(formula::single_exp(x) / std::exp(static_cast<double>(x)) - 1.0),
         std::fabs(formula::single_exp10(y) / std::pow(10.0, static_cast<double>(y)) - 1.0)});
  }
  EXPECT_LE(worst, 0x1p-22);
  EXPECT_EQ(formula::single_exp(0.0f), 1.0f);
  EXPECT_EQ(formula::single_exp10(-INFINITY), formula::single_exp10(-37.0f));
  EXPECT_EQ(formula::single_exp(INFINITY), formula::single_exp(88.0f));
}

namespace {

struct FloatForm {
  std::string name;
  std::function<float(float)> single;
  std::function<void(const float*, float*, std::size_t)> array;
  Exact exact;
};

std::vector<FloatForm> float_forms() {
  std::vector<FloatForm> forms;
  // Plain pointers choose among overloads.
  const auto add = [&](const char* name, float (*single)(float),
                       void (*array)(const float*, float*, std::size_t), Exact exact) {
    forms.push_back({name, single, array, std::move(exact)});
  };
  add("exp", elementary::expf, elementary::expf, expl);
  add("log", elementary::logf, elementary::logf, logl);
  add("log10", elementary::log10f, elementary::log10f, log10l);
  add("tanh", elementary::tanhf, elementary::tanhf, tanhl);
  add(
      "exp2", [](float x) { return elementary::powf(2.0f, x); }, elementary::exp2f, exp2l);
  add(
      "exp10", [](float x) { return elementary::powf(10.0f, x); }, elementary::exp10f,
      [](long double x) { return std::pow(10.0L, x); });
  for (const float y : {2.2f, -1.7f, 1.0f / 2.4f, 0.0f, 1.0f, 1e-3f, 777.0f, INFINITY, NAN})
    forms.push_back(
        {"pow " + std::to_string(y), [y](float x) { return elementary::powf(x, y); },
         [y](const float* in, float* out, std::size_t n) { elementary::powf(in, y, out, n); },
         [y](long double x) {
           return x < 0.0L && y != 0.0f ? std::nanl("") : std::pow(x, static_cast<long double>(y));
         }});
  return forms;
}

// Every sign and exponent with a few thousand mantissas, the range that pictures use more densely,
// what is not a number at all, and the neighbours of 1 and of the ends of exp and exp10.
std::vector<float> float_samples() {
  std::vector<float> samples;
  for (const float x : {0.0f, 1.0f, 0x1.fffffep-1f, 0x1.000002p0f, 10.0f, INFINITY, NAN, 88.7228f,
                        88.73f, 87.4f, 103.97f, 104.1f, 38.53f, 45.2f})
    samples.push_back(x), samples.push_back(-x);
  for (std::uint64_t bits = 1; bits < 0x100000000u; bits += 104729)
    samples.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
  for (int i = -30000; i < 30000; ++i) samples.push_back(static_cast<float>(i) * 0.00317f);
  for (int i = 0; i < 30000; ++i) samples.push_back(static_cast<float>(i) * 0.0001f);
  return samples;
}

}  // namespace

TEST(Elementary, FloatFormsRoundOnceInArraysOfEveryInstructionSetToo) {
  using morva::vector::Isa;
  const std::vector<float> samples = float_samples();
  for (const FloatForm& form : float_forms()) {
    std::vector<float> want(samples.size());
    double worst = 0.0;
    float at = 0.0f;
    for (std::size_t i = 0; i < samples.size(); ++i) {
      want[i] = form.single(samples[i]);
      const double error = ulps(want[i], form.exact(static_cast<long double>(samples[i])));
      if (!(error <= worst)) worst = error, at = samples[i];
    }
    EXPECT_LE(worst, 0.51) << form.name << ": " << worst << " ulp at " << std::hexfloat << at;

    for (const Isa isa : {Isa::baseline, Isa::avx2, Isa::avx512}) {
      morva::vector::use_isa(isa);
      const auto holds = [&](const std::vector<float>& got, std::size_t from, std::size_t n) {
        return std::memcmp(got.data(), want.data() + from, n * sizeof(float)) == 0;
      };
      std::vector<float> got(samples.size()), in_place = samples;
      form.array(samples.data(), got.data(), got.size());
      EXPECT_TRUE(holds(got, 0, got.size())) << form.name << static_cast<int>(isa);
      form.array(in_place.data(), in_place.data(), in_place.size());
      EXPECT_TRUE(holds(in_place, 0, in_place.size())) << form.name << " in place";
      for (const std::size_t n : {0, 1, 2, 3, 15, 16, 17, 31, 2047, 2049}) {
        std::vector<float> part(n + 1, 77.0f);
        form.array(samples.data() + 5, part.data(), n);
        EXPECT_EQ(part[n], 77.0f) << form.name << " wrote past " << n;
        EXPECT_TRUE(holds(part, 5, n)) << form.name << " of " << n;
      }
    }
  }
  morva::vector::use_isa(morva::vector::best_isa());
}
