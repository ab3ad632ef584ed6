// The objects of the fake GPU that commands are recorded into and work upon. A list keeps its
// commands and carries them out when it runs; what may not be done in one is noted as a misuse.
#pragma once

#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "gpu/fake_platform.h"

namespace morva::gpu {

using platform::Result;
using platform::State;

// Every object that a test must see released.
template <class Interface>
class Fake : public Interface {
 public:
  explicit Fake(FakePlatform& machine) : machine_(machine) { ++machine_.live_objects; }
  ~Fake() override { --machine_.live_objects; }
  Fake(const Fake&) = delete;

 protected:
  FakePlatform& machine_;
};

template <class Interface>
class FakeNamed : public Fake<Interface> {
 public:
  using Fake<Interface>::Fake;
  void set_name(const std::string& given) override {
    name = given;
    this->machine_.note(Op::set_name, given);
  }
  std::string name;
};

using FakePipeline = FakeNamed<platform::Pipeline>;
using FakeLayout = FakeNamed<platform::Layout>;

class FakeResource : public FakeNamed<platform::Resource> {
 public:
  FakeResource(FakePlatform& machine, platform::Heap where, std::uint64_t bytes, State first)
      : FakeNamed(machine),
        id(machine.next_resource++),
        heap(where),
        initial(first),
        block_(static_cast<std::byte*>(std::calloc(bytes, 1)), std::free),
        memory(block_.get(), bytes) {
    if (bytes <= kMarkedBytes) std::memset(block_.get(), 0xCD, bytes);
    machine.live_resources.insert(id);
    if (heap == platform::Heap::device_local) ++machine.live_kernel_buffers;
  }
  ~FakeResource() override {
    machine_.live_resources.erase(id);
    if (heap == platform::Heap::device_local) --machine_.live_kernel_buffers;
  }

  Result map(std::uint64_t read_bytes, void** out) override {
    if (heap == platform::Heap::device_local) machine_.misuse("a default buffer was mapped");
    if (read_bytes > memory.size()) machine_.misuse("mapped past the end");
    return machine_.answer(Op::map, [&] { *out = memory.data(); });
  }
  void unmap() override {}

  std::span<float> floats() {
    return {reinterpret_cast<float*>(memory.data()), memory.size() / sizeof(float)};
  }

  const std::uint64_t id;
  const platform::Heap heap;
  const State initial;

 private:
  // Memory that nobody wrote is marked, but for the chunks of a ring: they would only cost time.
  static constexpr std::uint64_t kMarkedBytes = 1 << 20;
  std::unique_ptr<std::byte, void (*)(void*)> block_;

 public:
  const std::span<std::byte> memory;
};

struct FakeQueryHeap : FakeNamed<platform::QueryHeap> {
  FakeQueryHeap(FakePlatform& machine, std::uint32_t count) : FakeNamed(machine), ticks(count) {}
  std::vector<std::uint64_t> ticks;
};

struct FakeAllocator : FakeNamed<platform::Allocator> {
  using FakeNamed::FakeNamed;
  Result reset() override { return machine_.answer(Op::allocator_reset); }
};

class FakeList : public FakeNamed<platform::List> {
 public:
  using FakeNamed::FakeNamed;

  Result reset(platform::Allocator&) override {
    if (open_) machine_.misuse("an open list was reset");
    return machine_.answer(Op::list_reset, [&] {
      open_ = true;
      now_ = Recorded{};
    });
  }
  Result close() override {
    if (!open_) machine_.misuse("a closed list was closed");
    open_ = false;
    return machine_.answer(Op::list_close);
  }
  void run() {
    if (open_) machine_.misuse("an open list was executed");
    for (const auto& [id, state] : now_.states) {
      if (!machine_.live_resources.contains(id)) machine_.misuse("a list uses a destroyed buffer");
    }
    for (const auto& command : now_.commands) command();
    now_.commands.clear();
  }

  void set_layout(platform::Layout&) override { recorded(); }
  void marker(const char*) override { recorded(); }
  void set_pipeline(platform::Pipeline& pipeline) override {
    recorded().call.kernel = static_cast<FakePipeline&>(pipeline).name;
  }
  void set_constants(const std::array<std::uint32_t, platform::kConstantWords>& words) override {
    recorded().call.constants = words;
  }
  void set_band_row(std::uint32_t row) override { recorded().call.band_row = row; }
  void bind_table(platform::Resource& table) override {
    now_.call.table = used_as(table, State::shader_resource).floats();
  }
  void bind_buffer(std::uint32_t slot, platform::Resource& buffer) override {
    now_.call.buffers.at(slot) = used_as(buffer, State::unordered_access).floats();
  }
  void dispatch(std::uint32_t x, std::uint32_t y, std::uint32_t) override {
    after_barrier("a dispatch");
    now_.dispatched = true;
    machine_.note(Op::dispatch);
    now_.call.groups_x = x;
    now_.call.groups_y = y;
    if (now_.call.kernel.empty() || now_.call.table.empty()) machine_.misuse("unbound dispatch");
    for (const auto& buffer : now_.call.buffers) {
      if (buffer.empty()) machine_.misuse("a slot without a buffer");
    }
    now_.commands.push_back([this, call = now_.call] {
      machine_.gpu_ticks += machine_.kernel_ticks ? machine_.kernel_ticks(call.kernel) : 100;
      if (machine_.run_kernel) machine_.run_kernel(call);
    });
  }
  void barrier() override { recorded().dispatched = false; }
  void transition(platform::Resource& buffer, State from, State to) override {
    State& state = state_of(static_cast<FakeResource&>(buffer));
    if (state != from || from == State::common) machine_.misuse("a transition from a wrong state");
    state = to;
  }
  void copy(platform::Resource& to, std::uint64_t to_offset, platform::Resource& from,
            std::uint64_t from_offset, std::uint64_t bytes) override {
    after_barrier("a copy");
    FakeResource& target = used_as(to, State::copy_dest);
    FakeResource& origin = used_as(from, State::copy_source);
    if (to_offset + bytes > target.memory.size() || from_offset + bytes > origin.memory.size()) {
      return machine_.misuse("a copy past the end");
    }
    now_.commands.push_back([=, &target, &origin] {
      std::memcpy(target.memory.data() + to_offset, origin.memory.data() + from_offset, bytes);
    });
  }
  void end_query(platform::QueryHeap& heap, std::uint32_t index) override {
    machine_.note(Op::end_query);
    auto& ticks = static_cast<FakeQueryHeap&>(heap).ticks;
    if (index >= ticks.size()) return machine_.misuse("a query past the heap");
    if (!recorded().taken.insert(index).second) machine_.misuse("a query taken twice");
    now_.commands.push_back([this, &ticks, index] {
      const auto forced = machine_.forced_ticks.find(index);
      ticks[index] = forced == machine_.forced_ticks.end() ? machine_.gpu_ticks : forced->second;
    });
  }
  void resolve(platform::QueryHeap& heap, std::uint32_t count, platform::Resource& to) override {
    auto& ticks = static_cast<FakeQueryHeap&>(heap).ticks;
    FakeResource& target = used_as(to, State::copy_dest);
    if (now_.taken.size() < count) machine_.misuse("a query read that this list has not taken");
    now_.commands.push_back([&ticks, &target, count] {
      std::memcpy(target.memory.data(), ticks.data(), count * sizeof(std::uint64_t));
    });
  }

 private:
  struct Recorded {
    std::vector<std::function<void()>> commands;
    std::map<std::uint64_t, State> states;  // by the buffer's id
    std::set<std::uint32_t> taken;          // queries
    FakeDispatch call;                      // as bound so far
    bool dispatched = false;                // since the last barrier
  };

  Recorded& recorded() {
    if (!open_) machine_.misuse("a command in a closed list");
    return now_;
  }
  void after_barrier(const std::string& what) {
    if (recorded().dispatched) machine_.misuse(what + " beside an unfinished dispatch");
  }
  State& state_of(FakeResource& resource) {
    return recorded().states.emplace(resource.id, resource.initial).first->second;
  }
  // A common buffer turns into what its first use needs; any other must be in that state already.
  FakeResource& used_as(platform::Resource& used, State state) {
    auto& resource = static_cast<FakeResource&>(used);
    State& now = state_of(resource);
    if (now == State::common) now = state;
    const bool reads = state == State::copy_source || state == State::shader_resource;
    const bool readable = now == State::generic_read && reads;
    if (now != state && !readable) machine_.misuse(resource.name + " used in a wrong state");
    return resource;
  }

  bool open_ = true;  // a list is made open
  Recorded now_;
};

}  // namespace morva::gpu
