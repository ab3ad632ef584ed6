#include "gpu/fake_platform.h"

#include <gtest/gtest.h>

#include "gpu/fake_recording.h"

namespace morva::gpu {

namespace {

template <class Interface>
using Out = std::unique_ptr<Interface>*;

class FakeFence : public FakeNamed<platform::Fence> {
 public:
  using FakeNamed::FakeNamed;
  Result open_event() override { return machine_.answer(Op::open_event); }
  std::uint64_t completed() override { return completed_; }
  Result wait(std::uint64_t value) override {
    return machine_.answer(Op::wait, [&] {
      if (value > signalled) machine_.misuse("a wait that never ends");
      machine_.clock_ns += machine_.wait_ns;
      completed_ = value;
    });
  }
  std::uint64_t signalled = 0;

 private:
  std::uint64_t completed_ = 0;  // seen only once somebody has waited
};

struct FakeQueue : FakeNamed<platform::Queue> {
  using FakeNamed::FakeNamed;
  void execute(platform::List& list) override {
    machine_.note(Op::execute);
    if (machine_.lost.ok()) static_cast<FakeList&>(list).run();
  }
  Result signal(platform::Fence& fence, std::uint64_t value) override {
    return machine_.answer(Op::signal, [&] { static_cast<FakeFence&>(fence).signalled = value; });
  }
  Result timestamp_frequency(std::uint64_t* ticks_per_s) override {
    return machine_.answer(Op::ask, [&] { *ticks_per_s = machine_.ticks_per_s; });
  }
};

class FakeDevice : public Fake<platform::Device> {
 public:
  using Fake::Fake;

  Result architecture(platform::Architecture* out) override {
    return machine_.answer(Op::ask, [&] { *out = machine_.architecture; });
  }
  Result double_support(bool* out) override {
    return machine_.answer(Op::ask, [&] { *out = machine_.doubles; });
  }
  Result create_queue(Out<platform::Queue> out) override {
    return made<FakeQueue>(Op::create_queue, out);
  }
  Result create_allocator(Out<platform::Allocator> out) override {
    return made<FakeAllocator>(Op::create_allocator, out);
  }
  Result create_list(platform::Allocator&, Out<platform::List> out) override {
    return made<FakeList>(Op::create_list, out);
  }
  Result create_fence(std::uint64_t, Out<platform::Fence> out) override {
    return made<FakeFence>(Op::create_fence, out);
  }
  Result create_query_heap(std::uint32_t count, Out<platform::QueryHeap> out) override {
    return made<FakeQueryHeap>(Op::create_query_heap, out, count);
  }
  Result create_buffer(platform::Heap heap, std::uint64_t bytes, State initial,
                       Out<platform::Resource> out) override {
    const bool full = heap == platform::Heap::device_local &&
                      machine_.live_kernel_buffers >= machine_.most_kernel_buffers;
    if (full) return platform::kOutOfMemory;
    const Result result = made<FakeResource>(Op::create_buffer, out, heap, bytes, initial);
    machine_.calls.back() = {Op::create_buffer, "", heap, bytes};
    return result;
  }
  Result check_layout(std::string* message) override {
    *message = "too few bindings";
    return machine_.answer(Op::check_layout);
  }
  Result create_layout(Out<platform::Layout> out) override {
    return made<FakeLayout>(Op::create_layout, out);
  }
  Result create_pipeline(platform::Layout&, std::span<const std::byte>,
                         Out<platform::Pipeline> out) override {
    return made<FakePipeline>(Op::create_pipeline, out);
  }
  Result removed_reason() override {
    const Result result = machine_.answer(Op::removed_reason);
    return result.ok() ? machine_.lost : result;
  }
  void remove() override { machine_.lost = platform::kDeviceRemoved; }
  Result fault_report(std::string* out) override {
    if (machine_.fault.empty()) return platform::kFailed;
    return machine_.answer(Op::ask, [&] { *out = machine_.fault; });
  }
  Result keep_messages(std::uint32_t) override { return machine_.answer(Op::ask); }
  std::vector<platform::DebugMessage> take_messages() override {
    return std::exchange(machine_.messages, {});
  }

 private:
  template <class Object, class Interface, class... Args>
  Result made(Op op, Out<Interface> out, Args... args) {
    return machine_.answer(op, [&] { *out = std::make_unique<Object>(machine_, args...); });
  }
};

class FakeAdapter : public Fake<platform::Adapter> {
 public:
  FakeAdapter(FakePlatform& machine, FakeAdapterSetup setup)
      : Fake(machine), setup_(std::move(setup)) {}
  platform::AdapterDescription description() const override { return setup_.description; }
  Result try_device() override {
    const Result result = machine_.answer(Op::try_device);
    return result.ok() ? setup_.trial : result;
  }
  Result create_device(Out<platform::Device> out) override {
    return machine_.answer(Op::create_device, [&] {
      machine_.lost = platform::kOk;
      *out = std::make_unique<FakeDevice>(machine_);
    });
  }
  Result memory(platform::Segment segment, platform::MemoryInfo* out) override {
    const bool local = segment == platform::Segment::local;
    return machine_.answer(Op::ask, [&] { *out = local ? machine_.local : machine_.non_local; });
  }

 private:
  FakeAdapterSetup setup_;
};

struct FakeFactory : Fake<platform::Factory> {
  using Fake::Fake;
  Result adapter(std::uint32_t index, Out<platform::Adapter> out) override {
    const bool there = index < machine_.adapters.size();
    const Result result = machine_.answer(Op::adapter, [&] {
      if (there) *out = std::make_unique<FakeAdapter>(machine_, machine_.adapters[index]);
    });
    return result.ok() && !there ? platform::kNotFound : result;
  }
  Result software_adapter(Out<platform::Adapter> out) override {
    return machine_.answer(Op::software_adapter, [&] {
      *out = std::make_unique<FakeAdapter>(machine_, FakeAdapterSetup{{"Fake on the CPU", true}});
    });
  }
};

}  // namespace

FakePlatform::~FakePlatform() {
  EXPECT_EQ(0u, live_objects);
  EXPECT_EQ(std::vector<std::string>{}, misuses);
}

Result FakePlatform::create_factory(std::unique_ptr<platform::Factory>* out) {
  return answer(Op::create_factory, [&] { *out = std::make_unique<FakeFactory>(*this); });
}

void FakePlatform::fail(const FailurePlan& plan) {
  struck.clear();
  seen_ = 0;
  plan_ = plan;
}

bool FakePlatform::fail_nothing() {
  plan_.reset();
  return !struck.empty();
}

std::vector<Call> FakePlatform::calls_of(Op op) const {
  std::vector<Call> found;
  for (const Call& call : calls) {
    if (call.op == op) found.push_back(call);
  }
  return found;
}

std::vector<std::uint64_t> FakePlatform::made(platform::Heap heap) const {
  std::vector<std::uint64_t> bytes;
  for (const Call& call : calls_of(Op::create_buffer)) {
    if (call.heap == heap) bytes.push_back(call.bytes);
  }
  return bytes;
}

Result FakePlatform::answer(Op op) {
  note(op);
  if (!plan_ || (plan_->op && *plan_->op != op)) return platform::kOk;
  ++seen_;
  if (plan_->from_then_on ? seen_ < plan_->nth : seen_ != plan_->nth) return platform::kOk;
  struck.push_back(op);
  return plan_->code;
}

}  // namespace morva::gpu
