#include "image/vector/isa.h"

#include <algorithm>
#include <atomic>

#if defined(_MSC_VER)
#include <intrin.h>
#endif

namespace morva::vector {

namespace {

#if defined(_MSC_VER)

Isa detect() {
  int leaf1[4], leaf7[4];
  __cpuid(leaf1, 1);
  __cpuidex(leaf7, 7, 0);
  const bool os_saves_vectors = (leaf1[2] & (1 << 27)) != 0;
  const unsigned long long saved = os_saves_vectors ? _xgetbv(0) : 0;
  constexpr int avx512_bits = (1 << 16) | (1 << 17) | (1 << 30) | static_cast<int>(1u << 31);
  if ((saved & 0xe6) == 0xe6 && (leaf7[1] & avx512_bits) == avx512_bits) return Isa::avx512;
  if ((saved & 0x06) == 0x06 && (leaf7[1] & (1 << 5)) != 0) return Isa::avx2;
  return Isa::baseline;
}

#else

Isa detect() {
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
      __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl"))
    return Isa::avx512;
  if (__builtin_cpu_supports("avx2")) return Isa::avx2;
  return Isa::baseline;
}

#endif

std::atomic<Isa>& chosen() {
  static std::atomic<Isa> isa{best_isa()};
  return isa;
}

}  // namespace

Isa best_isa() {
  static const Isa isa = detect();
  return isa;
}

Isa active_isa() {
  return chosen().load(std::memory_order_relaxed);
}

void use_isa(Isa isa) {
  chosen().store(std::min(isa, best_isa()), std::memory_order_relaxed);
}

}  // namespace morva::vector
