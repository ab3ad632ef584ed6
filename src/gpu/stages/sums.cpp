#include "gpu/stages/sums.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <vector>

#include "image/elementary.h"

namespace morva::gpu {

namespace {

constexpr std::uint64_t kStretch = 4096;                         // elements that a group adds
constexpr std::uint64_t kMostElements = kStretch * kMostGroups;  // of one launch

// What is summed of each element; the kernel's modes by number.
enum class Term : std::uint32_t { element, transmittance, weighted, square };

struct Summand {
  Term term = Term::element;
  std::vector<float> table;  // of `transmittance` the offset, of `weighted` the three weights
};

double value_of(const Summand& summand, const float* x) {
  const std::vector<float>& table = summand.table;
  switch (summand.term) {
    case Term::transmittance:
      return elementary::powf(10.0f, table[0] - *x);
    case Term::weighted:
      return (table[0] * x[0] + table[1] * x[1]) + table[2] * x[2];
    case Term::square:
      return static_cast<double>(*x) * static_cast<double>(*x);
    case Term::element:
      break;
  }
  return *x;
}

double sum_on_cpu(Device& device, const Plane& plane, const Summand& summand) {
  const std::uint64_t count = pixels(plane);
  const std::size_t stride = static_cast<std::size_t>(plane.stride);
  const std::vector<float> data = device.download(*plane.buffer, count * stride);
  const float* x = data.data() + plane.offset;
  double total = 0.0;
  for (std::uint64_t i = 0; i < count; ++i, x += stride) total += value_of(summand, x);
  return total;
}

// The sum over a run of the plane's elements.
double sum_of_run(Device& device, const Plane& plane, const Summand& summand, std::uint64_t first,
                  std::uint64_t count) {
  const auto stretches = static_cast<std::uint32_t>((count + kStretch - 1) / kStretch);
  const auto stride = static_cast<std::uint32_t>(plane.stride);
  const auto offset = static_cast<std::uint32_t>(first) * stride;
  const std::shared_ptr<Buffer> partial = device.alloc(2 * std::uint64_t{stretches});
  device.dispatch(Kernel::rowsum, stretches, 1,
                  {1, static_cast<std::uint32_t>(count), static_cast<std::uint32_t>(summand.term),
                   stride, offset + static_cast<std::uint32_t>(plane.offset), stretches},
                  summand.table, {plane.buffer.get(), partial.get()});
  const std::vector<float> halves = device.download(*partial, 2 * std::uint64_t{stretches});
  double total = 0.0;
  for (std::size_t k = 0; k < halves.size(); k += 2) {
    const std::uint64_t low = std::bit_cast<std::uint32_t>(halves[k]);
    const std::uint64_t high = std::bit_cast<std::uint32_t>(halves[k + 1]);
    total += std::bit_cast<double>(high << 32 | low);
  }
  return total;
}

double sum_of(Device& device, const Plane& plane, const Summand& summand) {
  if (!device.info().doubles) return sum_on_cpu(device, plane, summand);
  const std::uint64_t count = pixels(plane);
  double total = 0.0;
  for (std::uint64_t first = 0; first < count; first += kMostElements)
    total += sum_of_run(device, plane, summand, first, std::min(kMostElements, count - first));
  return total;
}

}  // namespace

double sum(Device& device, const Plane& plane) {
  return sum_of(device, plane, {Term::element, {}});
}

double transmittance_sum(Device& device, const Plane& density, float offset) {
  return sum_of(device, density, {Term::transmittance, {offset}});
}

double weighted_sum(Device& device, const GImage& picture, const std::array<float, 3>& weights) {
  return sum_of(device, plane_of(picture), {Term::weighted, {weights.begin(), weights.end()}});
}

MeanDeviation mean_deviation(Device& device, const Plane& plane) {
  const auto count = static_cast<double>(pixels(plane));
  if (count == 0.0) return {};
  const double mean = sum(device, plane) / count;
  const double square = sum_of(device, plane, {Term::square, {}}) / count;
  return {mean, std::sqrt(std::max(0.0, square - mean * mean))};
}

}  // namespace morva::gpu
