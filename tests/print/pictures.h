// The smallest pictures, and what is measured on all of them.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "image/image.h"
#include "image/pairwise_sum.h"

namespace morva {

inline Image pixel(float r, float g, float b) {
  Image image(1, 1, 3);
  image.data = {r, g, b};
  return image;
}

// Numbers from black to the lightest that a sheet can be.
inline testing::AssertionResult is_light(const Image& image) {
  const auto wrong = std::find_if(image.data.begin(), image.data.end(),
                                  [](float v) { return !(v >= 0.0f && v <= 1.0f); });
  if (wrong == image.data.end()) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "value " << wrong - image.data.begin() << " is " << *wrong;
}

inline double mean(const Image& image) {
  return mean_and_deviation(image.data.data(), image.data.size()).mean;
}

inline double spread(const Image& image) {
  return standard_deviation(image.data.data(), image.data.size());
}

// About the means; -1..1.
inline double correlation(const Image& a, const Image& b) {
  const double mean_a = mean(a), mean_b = mean(b);
  double ab = 0.0;
  for (std::size_t i = 0; i < a.data.size(); ++i)
    ab += (a.data[i] - mean_a) * (b.data[i] - mean_b) / static_cast<double>(a.data.size());
  return ab / (spread(a) * spread(b));
}

}  // namespace morva
