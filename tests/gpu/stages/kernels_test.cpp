// Every kernel against the CPU's own stage, on the software GPU or the machine's own.

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <string>

#include "gpu/gpu_budget.h"
#include "gpu/stages/kernel_case.h"
#include "gpu/stages/software_device.h"

namespace morva::gpu {
namespace {

// One pixel, around a group of threads, many groups and a rest, odd rows and columns.
constexpr PixelSize kAwkwardSizes[] = {{1, 1}, {255, 1}, {1, 256}, {257, 1}, {17, 241}, {61, 37}};

KernelCases all_cases() {
  return all_of({numeric_cases(), optics_cases(), film_cases(), grain_cases(), process_cases(),
                 view_cases()});
}

class KernelAgainstCpu : public ::testing::TestWithParam<KernelCase> {
 protected:
  void TearDown() override { gpu_budget() = GpuBudget{}; }
};

// Two floats are the same number; that an expression has no value is one too.
bool same(float a, float b) {
  return a == b || (std::isnan(a) && std::isnan(b));
}

struct Error {
  double most = 0.0;
  std::size_t where = 0;
};

// The largest difference over `unit_of` the CPU's number.
template <class UnitOf>
Error largest_error(const Compared& pair, const UnitOf& unit_of) {
  Error worst;
  for (std::size_t i = 0; i < pair.cpu.size(); ++i) {
    if (same(pair.gpu[i], pair.cpu[i])) continue;
    const double expected = pair.cpu[i];
    const double error = std::fabs((pair.gpu[i] - expected) / unit_of(expected));
    if (!(error <= worst.most)) worst = {std::isnan(error) ? INFINITY : error, i};
  }
  return worst;
}

// The unit in the last place of the largest number.
double last_place(const std::vector<float>& numbers) {
  double scale = 1e-30;
  for (const float x : numbers)
    if (std::isfinite(x)) scale = std::max(scale, std::fabs(static_cast<double>(x)));
  return std::max(std::ldexp(1.0, std::ilogb(scale) - 23), 1e-38);
}

TEST_P(KernelAgainstCpu, AgreesOverAwkwardSizesWholeAndInBands) {
  const KernelCase& one = GetParam();
  Device& device = software_device();
  double most_ulp = 0.0, most_share = 0.0;
  for (const PixelSize size : kAwkwardSizes) {
    gpu_budget() = {0.0, 0.0, 1.0};
    const Compared whole = one.run(device, size);
    ASSERT_EQ(whole.cpu.size(), whole.gpu.size());
    const auto expect_within = [&](double bound, const Error& error, double* most) {
      *most = std::max(*most, error.most);
      EXPECT_LE(error.most, bound)
          << size.w << " x " << size.h << ", element " << error.where << " of " << whole.cpu.size()
          << ": GPU " << whole.gpu[error.where] << ", CPU " << whole.cpu[error.where];
    };
    const double ulp = last_place(whole.cpu);
    expect_within(one.bound_ulp, largest_error(whole, [=](double) { return ulp; }), &most_ulp);
    expect_within(one.bound_relative, largest_error(whole, [](double x) { return x; }),
                  &most_share);

    gpu_budget().dispatch_ms = 1e-6;  // a band for every row of groups
    const Compared banded = one.run(device, size);
    for (std::size_t i = 0; i < whole.gpu.size(); ++i)
      ASSERT_EQ(std::bit_cast<std::uint32_t>(whole.gpu[i]),
                std::bit_cast<std::uint32_t>(banded.gpu[i]))
          << "in bands, element " << i;
  }
  std::printf("%-44s largest error %.3g of %.3g ulp, %.2g of %.2g of itself\n", one.name.c_str(),
              most_ulp, one.bound_ulp, most_share, one.bound_relative);
}

std::string test_name(const ::testing::TestParamInfo<KernelCase>& info) {
  std::string name = info.param.name;
  for (char& c : name)
    if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
  return name;
}

INSTANTIATE_TEST_SUITE_P(All, KernelAgainstCpu, ::testing::ValuesIn(all_cases()), test_name);

TEST(KernelCatalogue, EveryKernelHasACase) {
  std::string names;
  for (const KernelCase& one : all_cases()) names += ", " + one.name + ",";
  for (std::size_t row = 0; row < kKernelCount; ++row) {
    const std::string name = kernel_name(static_cast<Kernel>(row));
    EXPECT_NE(std::string::npos, names.find(" " + name + ",")) << name;
  }
}

}  // namespace
}  // namespace morva::gpu
