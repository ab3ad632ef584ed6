// Tests that run on each instruction set of this machine and compare pictures bit for bit; random
// pictures and what they measure.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "image/image.h"
#include "image/pairwise_sum.h"
#include "image/vector/isa.h"

namespace morva {

inline std::vector<vector::Isa> available_isas() {
  std::vector<vector::Isa> isas;
  for (vector::Isa isa : {vector::Isa::baseline, vector::Isa::avx2, vector::Isa::avx512})
    if (isa <= vector::best_isa()) isas.push_back(isa);
  return isas;
}

inline std::string isa_name(const testing::TestParamInfo<vector::Isa>& info) {
  const char* const names[] = {"baseline", "avx2", "avx512"};
  return names[static_cast<int>(info.param)];
}

// Uses the set that is the test's parameter.
class OnEveryIsa : public testing::TestWithParam<vector::Isa> {
 protected:
  void SetUp() override { vector::use_isa(GetParam()); }
  void TearDown() override { vector::use_isa(vector::best_isa()); }
};

inline Image random_image(std::int32_t h, std::int32_t w, std::int32_t c) {
  std::mt19937 random(static_cast<unsigned>(h * w * c));
  std::normal_distribution<float> normal(0.2f, 1.0f);
  Image image(h, w, c);
  for (float& v : image.data) v = normal(random);
  return image;
}

inline double mean_of(const Image& image) {
  return mean_and_deviation(image.data.data(), image.data.size()).mean;
}

inline double deviation_of(const Image& image) {
  return standard_deviation(image.data.data(), image.data.size());
}

// The first difference is printed. Any two NaNs are the same.
inline testing::AssertionResult same_bits(const Image& a, const Image& b) {
  if (a.h != b.h || a.w != b.w || a.c != b.c || a.data.size() != b.data.size())
    return testing::AssertionFailure() << "shapes differ";
  for (std::size_t i = 0; i < a.data.size(); ++i)
    if (std::bit_cast<std::uint32_t>(a.data[i]) != std::bit_cast<std::uint32_t>(b.data[i]) &&
        !(std::isnan(a.data[i]) && std::isnan(b.data[i])))
      return testing::AssertionFailure()
             << "sample " << i << " of " << a.data.size() << ": " << a.data[i] << ", " << b.data[i];
  return testing::AssertionSuccess();
}

// `make` comes to the same picture on every set.
template <typename Make>
void expect_same_on_every_isa(const Make& make) {
  const Image best = make();
  for (const vector::Isa isa : available_isas()) {
    vector::use_isa(isa);
    EXPECT_TRUE(same_bits(best, make())) << static_cast<int>(isa);
  }
  vector::use_isa(vector::best_isa());
}

}  // namespace morva
