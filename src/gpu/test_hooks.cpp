#include "gpu/test_hooks.h"

#include <stdexcept>

namespace morva::gpu {

namespace {

bool is_the_one(std::int32_t wanted, std::uint32_t count) {
  return wanted >= 1 && static_cast<std::uint32_t>(wanted) == count;
}

}  // namespace

TestHooks& test_hooks() {
  static TestHooks hooks;
  return hooks;
}

void hook_before_dispatch() {
  TestHooks& hooks = test_hooks();
  ++hooks.dispatch_count;
  if (!is_the_one(hooks.throw_at, hooks.dispatch_count)) return;
  hooks.throw_at = 0;
  throw std::runtime_error("тестовый крючок: исключение посреди записи");
}

bool hook_removes_device() {
  TestHooks& hooks = test_hooks();
  if (!is_the_one(hooks.remove_at, hooks.dispatch_count)) return false;
  hooks.remove_at = 0;
  return true;
}

bool hook_fails_allocation() {
  TestHooks& hooks = test_hooks();
  ++hooks.alloc_count;
  if (is_the_one(hooks.fail_alloc_at, hooks.alloc_count)) {
    hooks.fail_alloc_at = 0;
    return true;
  }
  return hooks.fail_alloc_from >= 1 &&
         hooks.alloc_count >= static_cast<std::uint32_t>(hooks.fail_alloc_from);
}

}  // namespace morva::gpu
