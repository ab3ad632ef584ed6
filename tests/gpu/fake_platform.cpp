#include "gpu/fake_platform.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

namespace morva::gpu {

using platform::Result;
using platform::State;

namespace {

// Every object that a test must see released.
class Counted {
 public:
  explicit Counted(FakePlatform& machine) : machine_(machine) { ++machine_.live_objects; }
  ~Counted() { --machine_.live_objects; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

 protected:
  FakePlatform& machine_;
};

template <class Interface>
class FakeNamed : public Interface, protected Counted {
 public:
  explicit FakeNamed(FakePlatform& machine) : Counted(machine) {}
  void set_name(const std::string& name) override {
    name_ = name;
    machine_.note(Op::set_name, name);
  }
  const std::string& name() const { return name_; }

 private:
  std::string name_;
};

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
    machine_.live_resources.insert(id);
    if (heap == platform::Heap::device_local) ++machine_.live_kernel_buffers;
  }
  ~FakeResource() override {
    machine_.live_resources.erase(id);
    if (heap == platform::Heap::device_local) --machine_.live_kernel_buffers;
  }

  Result map(std::uint64_t read_bytes, void** out) override {
    if (heap == platform::Heap::device_local) machine_.misuse("a default buffer was mapped");
    if (read_bytes > memory.size()) machine_.misuse("mapped past the end");
    const Result result = machine_.answer(Op::map, name(), {read_bytes});
    if (result.ok()) *out = memory.data();
    return result;
  }
  void unmap() override { machine_.note(Op::unmap, name()); }

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

class FakeQueryHeap : public FakeNamed<platform::QueryHeap> {
 public:
  FakeQueryHeap(FakePlatform& machine, std::uint32_t count) : FakeNamed(machine), ticks(count) {}
  std::vector<std::uint64_t> ticks;
};

class FakePipeline : public FakeNamed<platform::Pipeline> {
  using FakeNamed::FakeNamed;
};
class FakeLayout : public FakeNamed<platform::Layout> {
  using FakeNamed::FakeNamed;
};

class FakeAllocator : public FakeNamed<platform::Allocator> {
 public:
  using FakeNamed::FakeNamed;
  Result reset() override { return machine_.answer(Op::allocator_reset); }
};

class FakeList : public FakeNamed<platform::List> {
 public:
  using FakeNamed::FakeNamed;

  Result reset(platform::Allocator&) override {
    if (open_) machine_.misuse("an open list was reset");
    const Result result = machine_.answer(Op::list_reset);
    if (!result.ok()) return result;
    open_ = true;
    commands_.clear();
    taken_.clear();
    states_.clear();
    bound_ = FakeDispatch{};
    table_ = nullptr;
    buffers_.fill(nullptr);
    pipeline_ = nullptr;
    dispatched_ = false;
    return result;
  }
  Result close() override {
    if (!open_) machine_.misuse("a closed list was closed");
    open_ = false;
    return machine_.answer(Op::list_close);
  }
  void run() {
    if (open_) machine_.misuse("an open list was executed");
    for (const auto& [id, state] : states_) {
      if (!machine_.live_resources.contains(id)) machine_.misuse("a list uses a destroyed buffer");
    }
    for (const auto& command : commands_) command();
    commands_.clear();
  }

  void set_layout(platform::Layout&) override { record(Op::set_layout); }
  void set_pipeline(platform::Pipeline& pipeline) override {
    pipeline_ = &static_cast<FakePipeline&>(pipeline);
    record(Op::set_pipeline, pipeline_->name());
  }
  void set_constants(const std::array<std::uint32_t, platform::kConstantWords>& words) override {
    bound_.constants = words;
    record(Op::set_constants, {}, {words.begin(), words.end()});
  }
  void set_band_row(std::uint32_t row) override {
    bound_.band_row = row;
    record(Op::set_band_row, {}, {row});
  }
  void bind_table(platform::Resource& table) override {
    table_ = &used_as(table, State::shader_resource);
    record(Op::bind_table, table_->name(), {table_->id});
  }
  void bind_buffer(std::uint32_t slot, platform::Resource& buffer) override {
    buffers_.at(slot) = &used_as(buffer, State::unordered_access);
    record(Op::bind_buffer, buffers_[slot]->name(), {slot, buffers_[slot]->id});
  }
  void dispatch(std::uint32_t x, std::uint32_t y, std::uint32_t z) override {
    after_barrier("a dispatch");
    dispatched_ = true;
    record(Op::dispatch, pipeline_ ? pipeline_->name() : "", {x, y, z});
    FakeDispatch call = bound_;
    if (pipeline_ == nullptr || table_ == nullptr) return machine_.misuse("unbound dispatch");
    call.kernel = pipeline_->name();
    call.groups_x = x;
    call.groups_y = y;
    call.table = table_->floats();
    for (std::size_t i = 0; i < buffers_.size(); ++i) {
      if (buffers_[i] == nullptr) return machine_.misuse("a slot without a buffer");
      call.buffers[i] = buffers_[i]->floats();
    }
    commands_.push_back([this, call] {
      machine_.gpu_ticks += machine_.kernel_ticks ? machine_.kernel_ticks(call.kernel) : 100;
      if (machine_.run_kernel) machine_.run_kernel(call);
    });
  }
  void barrier() override {
    dispatched_ = false;
    record(Op::barrier);
  }
  void transition(platform::Resource& buffer, State from, State to) override {
    auto& resource = static_cast<FakeResource&>(buffer);
    State& state = state_of(resource);
    if (state != from || from == State::common) machine_.misuse("a transition from a wrong state");
    state = to;
    record(Op::transition, resource.name(),
           {resource.id, static_cast<std::uint64_t>(from), static_cast<std::uint64_t>(to)});
  }
  void copy(platform::Resource& to, std::uint64_t to_offset, platform::Resource& from,
            std::uint64_t from_offset, std::uint64_t bytes) override {
    after_barrier("a copy");
    FakeResource& target = used_as(to, State::copy_dest);
    FakeResource& origin = used_as(from, State::copy_source);
    record(Op::copy, target.name(), {target.id, to_offset, origin.id, from_offset, bytes});
    if (to_offset + bytes > target.memory.size() || from_offset + bytes > origin.memory.size()) {
      return machine_.misuse("a copy past the end");
    }
    commands_.push_back([=, &target, &origin] {
      std::memcpy(target.memory.data() + to_offset, origin.memory.data() + from_offset, bytes);
    });
  }
  void marker(const char* name) override { record(Op::marker, name); }
  void end_query(platform::QueryHeap& heap, std::uint32_t index) override {
    auto& ticks = static_cast<FakeQueryHeap&>(heap).ticks;
    record(Op::end_query, {}, {index});
    if (index >= ticks.size()) return machine_.misuse("a query past the heap");
    if (!taken_.insert(index).second) machine_.misuse("a query taken twice");
    commands_.push_back([this, &ticks, index] {
      const auto forced = machine_.forced_ticks.find(index);
      ticks[index] = forced == machine_.forced_ticks.end() ? machine_.gpu_ticks : forced->second;
    });
  }
  void resolve(platform::QueryHeap& heap, std::uint32_t count, platform::Resource& to) override {
    auto& ticks = static_cast<FakeQueryHeap&>(heap).ticks;
    FakeResource& target = used_as(to, State::copy_dest);
    record(Op::resolve, {}, {count});
    if (taken_.size() < count) machine_.misuse("a query read that this list has not taken");
    commands_.push_back([&ticks, &target, count] {
      std::memcpy(target.memory.data(), ticks.data(), count * sizeof(std::uint64_t));
    });
  }

 private:
  void record(Op op, const std::string& name = {}, std::vector<std::uint64_t> values = {}) {
    if (!open_) machine_.misuse("a command in a closed list");
    machine_.note(op, name, std::move(values));
  }
  void after_barrier(const std::string& what) {
    if (dispatched_) machine_.misuse(what + " beside an unfinished dispatch");
  }
  State& state_of(FakeResource& resource) {
    return states_.emplace(resource.id, resource.initial).first->second;
  }
  // A common buffer turns into what its first use needs; any other must be in that state already.
  FakeResource& used_as(platform::Resource& used, State state) {
    auto& resource = static_cast<FakeResource&>(used);
    State& now = state_of(resource);
    if (now == State::common) now = state;
    const bool reads = state == State::copy_source || state == State::shader_resource;
    const bool readable = now == State::generic_read && reads;
    if (now != state && !readable) machine_.misuse(resource.name() + " used in a wrong state");
    return resource;
  }

  bool open_ = true;  // a list is made open
  std::vector<std::function<void()>> commands_;
  std::map<std::uint64_t, State> states_;  // by the buffer's id, in this list
  std::set<std::uint32_t> taken_;          // queries, in this list
  FakeDispatch bound_;
  FakePipeline* pipeline_ = nullptr;
  FakeResource* table_ = nullptr;
  std::array<FakeResource*, platform::kBufferSlots> buffers_{};
  bool dispatched_ = false;
};

class FakeFence : public FakeNamed<platform::Fence> {
 public:
  using FakeNamed::FakeNamed;
  Result open_event() override { return machine_.answer(Op::open_event); }
  std::uint64_t completed() override {
    machine_.note(Op::completed);
    return completed_;
  }
  Result wait(std::uint64_t value) override {
    const Result result = machine_.answer(Op::wait, {}, {value});
    if (!result.ok()) return result;
    if (value > signalled) machine_.misuse("a wait that never ends");
    machine_.clock_ns += machine_.wait_ns;
    completed_ = value;
    return result;
  }
  std::uint64_t signalled = 0;

 private:
  std::uint64_t completed_ = 0;  // seen only once somebody has waited
};

class FakeQueue : public FakeNamed<platform::Queue> {
 public:
  using FakeNamed::FakeNamed;
  void execute(platform::List& list) override {
    machine_.note(Op::execute);
    if (machine_.lost.ok()) static_cast<FakeList&>(list).run();
  }
  Result signal(platform::Fence& fence, std::uint64_t value) override {
    const Result result = machine_.answer(Op::signal, {}, {value});
    if (result.ok()) static_cast<FakeFence&>(fence).signalled = value;
    return result;
  }
  Result timestamp_frequency(std::uint64_t* ticks_per_s) override {
    const Result result = machine_.answer(Op::timestamp_frequency);
    if (result.ok()) *ticks_per_s = machine_.ticks_per_s;
    return result;
  }
};

class FakeDevice : public platform::Device, protected Counted {
 public:
  using Counted::Counted;

  Result architecture(platform::Architecture* out) override {
    return given(Op::architecture, machine_.architecture, out);
  }
  Result double_support(bool* out) override {
    return given(Op::double_support, machine_.doubles, out);
  }
  Result create_queue(std::unique_ptr<platform::Queue>* out) override {
    return made<FakeQueue>(Op::create_queue, out);
  }
  Result create_allocator(std::unique_ptr<platform::Allocator>* out) override {
    return made<FakeAllocator>(Op::create_allocator, out);
  }
  Result create_list(platform::Allocator&, std::unique_ptr<platform::List>* out) override {
    return made<FakeList>(Op::create_list, out);
  }
  Result create_fence(std::uint64_t, std::unique_ptr<platform::Fence>* out) override {
    return made<FakeFence>(Op::create_fence, out);
  }
  Result create_query_heap(std::uint32_t count,
                           std::unique_ptr<platform::QueryHeap>* out) override {
    return made<FakeQueryHeap>(Op::create_query_heap, out, count);
  }
  Result create_buffer(platform::Heap heap, std::uint64_t bytes, State initial,
                       std::unique_ptr<platform::Resource>* out) override {
    const Result result =
        machine_.answer(Op::create_buffer, {}, {static_cast<std::uint64_t>(heap), bytes});
    if (heap == platform::Heap::device_local &&
        machine_.live_kernel_buffers >= machine_.most_kernel_buffers) {
      return platform::kOutOfMemory;
    }
    if (result.ok()) *out = std::make_unique<FakeResource>(machine_, heap, bytes, initial);
    return result;
  }
  Result check_layout(std::string* message) override {
    const Result result = machine_.answer(Op::check_layout);
    if (!result.ok()) *message = machine_.layout_message;
    return result;
  }
  Result create_layout(std::unique_ptr<platform::Layout>* out) override {
    return made<FakeLayout>(Op::create_layout, out);
  }
  Result create_pipeline(platform::Layout&, std::span<const std::byte>,
                         std::unique_ptr<platform::Pipeline>* out) override {
    return made<FakePipeline>(Op::create_pipeline, out);
  }
  Result removed_reason() override {
    const Result result = machine_.answer(Op::removed_reason);
    return result.ok() ? machine_.lost : result;
  }
  void remove() override {
    machine_.note(Op::remove);
    machine_.lost = platform::kDeviceRemoved;
  }
  Result fault_report(std::string* out) override {
    if (machine_.fault.empty()) return platform::kFailed;
    return given(Op::fault_report, machine_.fault, out);
  }
  Result keep_messages(std::uint32_t limit) override {
    return machine_.answer(Op::keep_messages, {}, {limit});
  }
  std::vector<platform::DebugMessage> take_messages() override {
    machine_.note(Op::take_messages);
    return std::exchange(machine_.messages, {});
  }

 private:
  template <class Value>
  Result given(Op op, const Value& value, Value* out) {
    const Result result = machine_.answer(op);
    if (result.ok()) *out = value;
    return result;
  }
  template <class Fake, class Interface, class... Args>
  Result made(Op op, std::unique_ptr<Interface>* out, Args... args) {
    const Result result = machine_.answer(op);
    if (result.ok()) *out = std::make_unique<Fake>(machine_, args...);
    return result;
  }
};

class FakeAdapter : public platform::Adapter, protected Counted {
 public:
  FakeAdapter(FakePlatform& machine, FakeAdapterSetup setup)
      : Counted(machine), setup_(std::move(setup)) {}
  platform::AdapterDescription description() const override { return setup_.description; }
  Result try_device() override {
    const Result result = machine_.answer(Op::try_device, setup_.description.name);
    return result.ok() ? setup_.trial : result;
  }
  Result create_device(std::unique_ptr<platform::Device>* out) override {
    const Result result = machine_.answer(Op::create_device, setup_.description.name);
    if (!result.ok()) return result;
    machine_.lost = platform::kOk;
    *out = std::make_unique<FakeDevice>(machine_);
    return result;
  }
  Result memory(platform::Segment segment, platform::MemoryInfo* out) override {
    const Result result = machine_.answer(Op::memory);
    const bool local = segment == platform::Segment::local;
    if (result.ok()) *out = local ? machine_.local : machine_.non_local;
    return result;
  }

 private:
  FakeAdapterSetup setup_;
};

class FakeFactory : public platform::Factory, protected Counted {
 public:
  using Counted::Counted;
  Result adapter(std::uint32_t index, std::unique_ptr<platform::Adapter>* out) override {
    const Result result = machine_.answer(Op::adapter, {}, {index});
    if (!result.ok()) return result;
    if (index >= machine_.adapters.size()) return platform::kNotFound;
    *out = std::make_unique<FakeAdapter>(machine_, machine_.adapters[index]);
    return platform::kOk;
  }
  Result software_adapter(std::unique_ptr<platform::Adapter>* out) override {
    const Result result = machine_.answer(Op::software_adapter);
    if (!result.ok()) return result;
    if (!machine_.has_software_adapter) return platform::kNotFound;
    *out = std::make_unique<FakeAdapter>(
        machine_, FakeAdapterSetup{{"Fake on the CPU", true, 0}, platform::kOk});
    return result;
  }
};

}  // namespace

Result FakePlatform::create_factory(std::unique_ptr<platform::Factory>* out) {
  const Result result = answer(Op::create_factory);
  if (result.ok()) *out = std::make_unique<FakeFactory>(*this);
  return result;
}

void FakePlatform::fail(Op op, std::uint64_t nth, Result code, bool from_then_on) {
  struck.clear();
  plan_ = Plan{op, nth, code, from_then_on};
}

void FakePlatform::fail_any(std::uint64_t nth, Result code, bool from_then_on) {
  struck.clear();
  plan_ = Plan{std::nullopt, nth, code, from_then_on};
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

void FakePlatform::note(Op op, const std::string& name, std::vector<std::uint64_t> values) {
  calls.push_back({op, name, std::move(values)});
}

Result FakePlatform::answer(Op op, const std::string& name, std::vector<std::uint64_t> values) {
  note(op, name, std::move(values));
  if (!plan_ || (plan_->op && *plan_->op != op)) return platform::kOk;
  ++plan_->seen;
  const bool strikes = plan_->from_then_on ? plan_->seen >= plan_->nth : plan_->seen == plan_->nth;
  if (!strikes) return platform::kOk;
  struck.push_back(op);
  return plan_->code;
}

}  // namespace morva::gpu
