// Every kernel against the CPU's own stage, on the software GPU or the machine's own.

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <set>

#include "gpu/gpu_budget.h"
#include "gpu/stages/kernel_case.h"
#include "gpu/stages/software_device.h"

namespace morva::gpu {
namespace {

// One pixel, around a group of threads, many groups and a rest, odd rows and columns.
constexpr PixelSize kAwkwardSizes[] = {{1, 1}, {255, 1}, {1, 256}, {257, 1}, {17, 241}, {61, 37}};

std::vector<KernelCase> all_cases() {
  std::vector<KernelCase> all;
  for (const auto& family : {numeric_cases(), optics_cases(), film_cases(), grain_cases(),
                             process_cases(), view_cases()})
    for (const KernelCase& one : family) all.push_back(one);
  return all;
}

class KernelAgainstCpu : public ::testing::TestWithParam<KernelCase> {
 protected:
  void TearDown() override { gpu_budget() = GpuBudget{}; }
};

// Two floats are the same number; that an expression has no value is one too.
bool same(float a, float b) {
  return a == b || (std::isnan(a) && std::isnan(b));
}

// The largest difference in units in the last place of the largest number.
double largest_error_ulp(const Compared& pair, std::size_t* where) {
  double scale = 0.0;
  for (const float x : pair.cpu)
    if (std::isfinite(x)) scale = std::max(scale, std::fabs(static_cast<double>(x)));
  const double ulp = std::max(std::ldexp(1.0, std::ilogb(std::max(scale, 1e-30)) - 23), 1e-38);
  double worst = 0.0;
  for (std::size_t i = 0; i < pair.cpu.size(); ++i) {
    if (same(pair.gpu[i], pair.cpu[i])) continue;
    const double error = std::fabs(static_cast<double>(pair.gpu[i]) - pair.cpu[i]) / ulp;
    if (!(error <= worst)) {
      worst = std::isnan(error) ? INFINITY : error;
      *where = i;
    }
  }
  return worst;
}

// The largest difference of a number in shares of itself.
double largest_relative_error(const Compared& pair, std::size_t* where) {
  double worst = 0.0;
  for (std::size_t i = 0; i < pair.cpu.size(); ++i) {
    if (same(pair.gpu[i], pair.cpu[i])) continue;
    const double true_value = pair.cpu[i];
    const double error = std::fabs((pair.gpu[i] - true_value) / true_value);
    if (error <= worst) continue;
    worst = std::isnan(error) ? INFINITY : error;
    *where = i;
  }
  return worst;
}

TEST_P(KernelAgainstCpu, AgreesOverAwkwardSizesWholeAndInBands) {
  const KernelCase& one = GetParam();
  Device& device = software_device();
  double worst_of_all = 0.0, worst_share = 0.0;
  for (const PixelSize size : kAwkwardSizes) {
    gpu_budget().submit_ms = 0.0;
    gpu_budget().dispatch_ms = 0.0;
    const Compared whole = one.run(device, size);
    ASSERT_EQ(whole.cpu.size(), whole.gpu.size());
    std::size_t where = 0;
    const double worst = largest_error_ulp(whole, &where);
    worst_of_all = std::max(worst_of_all, worst);
    EXPECT_LE(worst, one.bound_ulp)
        << size.w << " x " << size.h << ", element " << where << " of " << whole.cpu.size()
        << ": GPU " << whole.gpu[where] << ", CPU " << whole.cpu[where];

    if (std::isfinite(one.bound_relative)) {
      const double share = largest_relative_error(whole, &where);
      worst_share = std::max(worst_share, share);
      EXPECT_LE(share, one.bound_relative) << "of itself, element " << where << ": GPU "
                                           << whole.gpu[where] << ", CPU " << whole.cpu[where];
    }

    gpu_budget().dispatch_ms = 1e-6;  // a band for every row of groups
    const Compared banded = one.run(device, size);
    for (std::size_t i = 0; i < whole.gpu.size(); ++i)
      ASSERT_EQ(std::bit_cast<std::uint32_t>(whole.gpu[i]),
                std::bit_cast<std::uint32_t>(banded.gpu[i]))
          << "in bands, element " << i;
  }
  std::printf("%-44s largest error %.3g of %.3g ulp", one.name.c_str(), worst_of_all,
              one.bound_ulp);
  if (std::isfinite(one.bound_relative))
    std::printf(", %.2g of %.2g of itself", worst_share, one.bound_relative);
  std::printf("\n");
}

std::string test_name(const ::testing::TestParamInfo<KernelCase>& info) {
  std::string name = info.param.name;
  for (char& c : name)
    if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
  return name;
}

INSTANTIATE_TEST_SUITE_P(All, KernelAgainstCpu, ::testing::ValuesIn(all_cases()), test_name);

TEST(KernelCatalogue, EveryKernelHasACase) {
  std::set<Kernel> held;
  for (const KernelCase& one : all_cases()) held.insert(one.kernels.begin(), one.kernels.end());
  for (std::size_t row = 0; row < kKernelCount; ++row)
    EXPECT_TRUE(held.contains(static_cast<Kernel>(row))) << kernel_name(static_cast<Kernel>(row));
}

}  // namespace
}  // namespace morva::gpu
