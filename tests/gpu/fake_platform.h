// A GPU made of host memory. It records the calls that a test may ask after, really copies, runs
// kernels as host functions, keeps a clock of its own for timestamps and fails whatever call it is
// told to. When it goes, every object must have been released, and no use may have been made that a
// real device would punish with undefined behaviour.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "gpu/platform/platform.h"

namespace morva::gpu {

enum class Op {
  enable_debug_layer,
  enable_kernel_checks,
  enable_loss_records,
  create_factory,
  adapter,
  software_adapter,
  try_device,
  create_device,
  ask,  // for what can be done without: what the device is, its memory, its clock's rate
  create_queue,
  create_allocator,
  create_list,
  create_fence,
  open_event,
  create_query_heap,
  create_buffer,
  check_layout,
  create_layout,
  create_pipeline,
  set_name,
  map,
  allocator_reset,
  list_reset,
  dispatch,
  end_query,
  list_close,
  execute,
  signal,
  wait,
  removed_reason,
};

struct Call {
  Op op;
  std::string name;       // of the object that it was about
  platform::Heap heap{};  // of a buffer that it made
  std::uint64_t bytes = 0;
};

// What a kernel sees. Buffers are as large as their resources.
struct FakeDispatch {
  std::string kernel;
  std::array<std::uint32_t, platform::kConstantWords> constants{};
  std::uint32_t band_row = 0;
  std::uint32_t groups_x = 0;
  std::uint32_t groups_y = 0;
  std::span<const float> table;
  std::array<std::span<float>, platform::kBufferSlots> buffers;
};

struct FakeAdapterSetup {
  platform::AdapterDescription description;
  platform::Result trial = platform::kOk;
};

// Which calls fail: the n-th (from 1), or all from it on, of one kind or of any that can fail.
struct FailurePlan {
  std::uint64_t nth;
  platform::Result code;
  bool from_then_on = false;
  std::optional<Op> op = std::nullopt;
};

class FakePlatform : public platform::Platform {
 public:
  ~FakePlatform() override;

  // What the machine is; set before a device is made.
  std::vector<FakeAdapterSetup> adapters{{{"Fake 3000", false, std::uint64_t{8} << 30}}};
  platform::Architecture architecture;
  bool doubles = true;
  std::uint64_t ticks_per_s = 1'000'000'000;
  std::uint64_t most_kernel_buffers = ~std::uint64_t{0};  // alive at a time
  platform::MemoryInfo local;
  platform::MemoryInfo non_local;
  std::vector<platform::DebugMessage> messages;
  std::string fault;  // what is known of a loss; empty: no records

  // How it behaves; may change at any time.
  std::int64_t clock_ns = 1'000'000'000'000;
  std::int64_t wait_ns = 0;  // that every wait on the fence takes
  std::function<void(const FakeDispatch&)> run_kernel;
  std::function<std::uint64_t(const std::string&)> kernel_ticks;  // of one dispatch; unset: 100
  std::map<std::uint32_t, std::uint64_t> forced_ticks;            // of a query, whatever the clock
  platform::Result lost = platform::kOk;                          // a failure: the device is gone

  void fail(const FailurePlan& plan);
  // Ends the plan; whether it ever came to pass.
  bool fail_nothing();

  // What happened.
  std::vector<Call> calls;
  std::vector<Op> struck;  // calls that failed by the plan
  std::vector<std::string> misuses;
  std::uint64_t live_objects = 0;

  std::vector<Call> calls_of(Op op) const;
  std::uint64_t count(Op op) const { return calls_of(op).size(); }
  // Bytes of the buffers made on a heap.
  std::vector<std::uint64_t> made(platform::Heap heap) const;

  platform::Result enable_debug_layer() override { return answer(Op::enable_debug_layer); }
  void enable_kernel_checks() override { note(Op::enable_kernel_checks); }
  platform::Result enable_loss_records() override { return answer(Op::enable_loss_records); }
  platform::Result create_factory(std::unique_ptr<platform::Factory>* out) override;
  std::int64_t now_ns() override { return clock_ns; }

  // For the objects that it hands out.
  void note(Op op, const std::string& name = {}) { calls.push_back({op, name}); }
  // Notes a call that can fail, and does what it is for unless it does.
  platform::Result answer(Op op);
  template <class Deed>
  platform::Result answer(Op op, const Deed& deed) {
    const platform::Result result = answer(op);
    if (result.ok()) deed();
    return result;
  }
  void misuse(const std::string& what) { misuses.push_back(what); }

  std::uint64_t next_resource = 1;
  std::set<std::uint64_t> live_resources;
  std::uint64_t live_kernel_buffers = 0;
  std::uint64_t gpu_ticks = 1000;

 private:
  std::optional<FailurePlan> plan_;
  std::uint64_t seen_ = 0;  // of the calls that the plan counts
};

}  // namespace morva::gpu
