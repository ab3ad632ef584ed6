#include "gpu/cost_model.h"

#include <algorithm>

namespace morva::gpu {

namespace {

// A multiply-and-xor hash over 32-bit words.
constexpr std::uint64_t kHashStart = 0x14650FB0739D0383u;
constexpr std::uint64_t kHashPrime = 0x100000001B3u;
constexpr std::size_t kKeyWords = 15;
constexpr std::size_t kMostKeys = 65'536;

// Of a kernel that was never measured: slow for any GPU, so that the first dispatches are cautious.
constexpr double kUnknownNs = 40.0;
constexpr double kUnmetFactor = 2.0;  // over the worst seen, for constants not met yet

}  // namespace

CostModel& cost_model() {
  static auto* const model = new CostModel;  // whatever still measures while the program ends
  return *model;
}

double taps_of(Kernel kernel, const std::vector<std::uint32_t>& constants) {
  if (constants.size() < 4) return 1.0;
  const double size = constants[3];
  if (kernel == Kernel::resample_h || kernel == Kernel::resample_v) return std::max(1.0, size);
  if (kernel == Kernel::gauss_line || kernel == Kernel::gauss_col) return 2.0 * size + 1.0;
  return 1.0;
}

std::uint64_t cost_key(Kernel kernel, const std::vector<std::uint32_t>& constants) {
  std::uint64_t key = row_of(kernel) ^ kHashStart;
  const std::size_t words = std::min(constants.size(), kKeyWords);
  for (std::size_t i = 0; i < words; ++i) key = (key ^ constants[i]) * kHashPrime;
  return key;
}

double cost_ns(CostModel& model, Kernel kernel, std::uint64_t key) {
  const std::lock_guard guard(model.mutex);
  if (const auto known = model.ns_by_key.find(key); known != model.ns_by_key.end()) {
    return known->second;
  }
  const double worst = model.worst_ns[row_of(kernel)];
  return worst > 0.0 ? kUnmetFactor * worst : kUnknownNs;
}

void learn(CostModel& model, Kernel kernel, std::uint64_t key, double ns) {
  const std::lock_guard guard(model.mutex);
  double& worst = model.worst_ns[row_of(kernel)];
  worst = std::max(worst, ns);
  // The constants of a kernel that draws hold its seed, which does not come back.
  if (model.ns_by_key.size() >= kMostKeys) model.ns_by_key.clear();
  double& entry = model.ns_by_key[key];
  entry = entry > 0.0 ? std::max(entry * 0.8 + ns * 0.2, ns) : ns;
}

}  // namespace morva::gpu
