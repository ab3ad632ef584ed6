// A machine of little memory: what asks for more at once is refused, as on any machine it may be.
// So a mat of the largest size that a sheet may have takes no time, and every refusal is gone
// through.
#pragma once

#include <cstdlib>
#include <new>

namespace scarce_memory {
inline constexpr std::size_t kMost = std::size_t{96} << 20;
}

void* operator new(std::size_t size) {
  void* memory = size <= scarce_memory::kMost ? std::malloc(size) : nullptr;
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

// The operators above take from malloc what the C++ library may give back by its own delete.
extern "C" const char* __asan_default_options() {
  return "alloc_dealloc_mismatch=0";
}
