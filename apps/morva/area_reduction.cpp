#include "area_reduction.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace morva::host {
namespace {

// The share of each old pixel in a row or column of new ones.
struct Share {
  std::size_t from;
  std::size_t to;
  double weight;
};

// In the order of the new pixels.
std::vector<Share> shares(int32_t old_size, int32_t new_size) {
  std::vector<Share> all;
  const double step = static_cast<double>(old_size) / new_size;
  for (int32_t to = 0; to < new_size; ++to) {
    const double start = to * step, end = std::min<double>(old_size, (to + 1) * step);
    for (auto from = static_cast<int32_t>(start); from < old_size && from < end; ++from) {
      const double covered = std::min<double>(end, from + 1) - std::max<double>(start, from);
      all.push_back({static_cast<std::size_t>(from), static_cast<std::size_t>(to), covered / step});
    }
  }
  return all;
}

void add_row(std::span<const float> row, const std::vector<Share>& across, double weight,
             std::vector<double>& sum) {
  for (const Share& share : across)
    for (std::size_t k = 0; k < 3; ++k)
      sum[share.to * 3 + k] += weight * share.weight * double{row[share.from * 3 + k]};
}

}  // namespace

Picture reduced_by_area(const Picture& picture, PixelSize size) {
  Picture small = new_picture(size.width, size.height);
  const std::vector<Share> across = shares(picture.width, size.width);
  const std::vector<Share> down = shares(picture.height, size.height);
  std::vector<double> sum(small.row_samples());
  for (std::size_t i = 0; i < down.size(); ++i) {
    add_row(picture.row(static_cast<int32_t>(down[i].from)), across, down[i].weight, sum);
    const bool last = i + 1 == down.size() || down[i + 1].to != down[i].to;
    if (!last) continue;
    float* const row = small.samples.get() + down[i].to * small.row_samples();
    std::transform(sum.begin(), sum.end(), row, [](double v) { return static_cast<float>(v); });
    std::fill(sum.begin(), sum.end(), 0.0);
  }
  return small;
}

}  // namespace morva::host
