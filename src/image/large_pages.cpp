#include "image/large_pages.h"

#if defined(__linux__)
#include <sys/mman.h>

#include <cstdint>
#endif

namespace morva {

#if defined(__linux__)

void prefer_large_pages(void* begin, std::size_t bytes) {
  constexpr std::uintptr_t kLargePage = std::uintptr_t{1} << 21;
  const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(begin);
  const std::uintptr_t first = (address + kLargePage - 1) & ~(kLargePage - 1);
  const std::uintptr_t last = (address + bytes) & ~(kLargePage - 1);
  // Only whole large pages inside the block; a refusal changes nothing but the speed.
  if (first < last) madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
}

#else

void prefer_large_pages(void*, std::size_t) {}

#endif

}  // namespace morva
