// Faults that a test host can ask for in the shipped library: an exception or a removed device at
// the n-th dispatch, an allocation that fails, a pool that keeps nothing. Not locked: set between
// renders.
#pragma once

#include <cstdint>

namespace morva::gpu {

struct TestHooks {
  std::int32_t remove_at = 0;        // the dispatch that takes the device away; 0: none
  std::int32_t throw_at = 0;         // the dispatch that throws
  std::int32_t fail_alloc_at = 0;    // the new buffer that finds no memory, once
  std::int32_t fail_alloc_from = 0;  // the first of all that find none
  bool no_pool = false;              // buffers given back are destroyed, not kept
  std::uint32_t dispatch_count = 0;
  std::uint32_t alloc_count = 0;
};

// The process's own.
TestHooks& test_hooks();

// Counts a dispatch that is about to be recorded; throws std::runtime_error when it is the one.
void hook_before_dispatch();

// Whether the device is to be removed in the dispatch counted last.
bool hook_removes_device();

// Counts a new buffer; whether it is to find no memory.
bool hook_fails_allocation();

}  // namespace morva::gpu
