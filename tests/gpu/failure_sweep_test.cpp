// Every call that can fail, failed in turn: the text is the failing call's, nothing leaks, and a
// device that was not lost goes on.

#include <cstdlib>

#include "gpu/device_test.h"

namespace morva::gpu {
namespace {

// What a failed call says; calls that are not here are done without.
const std::map<Op, std::string> kTexts = {
    {Op::enable_debug_layer, "отладочный слой недоступен"},
    {Op::create_factory, "фабрика DXGI — HRESULT"},
    {Op::adapter, "нет аппаратного адаптера с D3D12"},
    {Op::software_adapter, "WARP — HRESULT"},
    {Op::create_device, "устройство — HRESULT"},
    {Op::create_queue, "очередь — HRESULT"},
    {Op::create_allocator, "аллокатор — HRESULT"},
    {Op::create_list, "список команд — HRESULT"},
    {Op::create_fence, "забор — HRESULT"},
    {Op::open_event, "событие забора"},
    {Op::create_query_heap, "куча меток времени — HRESULT"},
    {Op::create_buffer, "буфер — HRESULT"},
    {Op::check_layout, "корневая сигнатура: too few bindings"},
    {Op::create_layout, "корневая сигнатура — HRESULT"},
    {Op::create_pipeline, "конвейер кернела copy_main — HRESULT"},
    {Op::allocator_reset, "Reset аллокатора — HRESULT"},
    {Op::list_reset, "Reset списка — HRESULT"},
    {Op::list_close, "Close"},
    {Op::map, "Map "},
    {Op::signal, "Signal — HRESULT"},
    {Op::wait, "SetEventOnCompletion — HRESULT"},
    {Op::removed_reason, "устройство потеряно — HRESULT"},
};

std::optional<std::string> expected_text(const std::vector<Op>& struck) {
  for (auto op = struck.rbegin(); op != struck.rend(); ++op) {
    if (const auto text = kTexts.find(*op); text != kTexts.end()) return "DX12: " + text->second;
  }
  return std::nullopt;
}

struct Plan {
  std::uint64_t nth;
  platform::Result code;
  bool from_then_on;
};

std::ostream& operator<<(std::ostream& out, const Plan& plan) {
  return out << "call " << plan.nth << " with " << std::hex << plan.code.code
             << (plan.from_then_on ? " from then on" : " once");
}

// Runs `attempt` with ever later calls failing until it passes untouched. It gets the plan and
// tells whether the plan came to pass.
template <class Attempt>
void sweep(const Attempt& attempt) {
  for (const platform::Result code :
       {platform::kFailed, platform::kOutOfMemory, platform::kDeviceRemoved}) {
    for (const bool from_then_on : {false, true}) {
      std::uint64_t nth = 1;
      while (attempt(Plan{nth, code, from_then_on})) {
        ASSERT_LT(++nth, 200u);
        if (::testing::Test::HasFailure()) return;
      }
      EXPECT_GT(nth, 2u);
    }
  }
}

// The text of what `action` throws; GpuLost must be thrown for the codes that mean it.
template <class Action>
std::optional<std::string> thrown(const Action& action) {
  try {
    action();
    return std::nullopt;
  } catch (const GpuLost& lost) {
    EXPECT_NE(kNoLoss, lost.reason);
    EXPECT_NE(std::string::npos, std::string(lost.what()).find("HRESULT"));
    return lost.what();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

void expect_text_of_struck(const FakePlatform& machine, const std::optional<std::string>& text,
                           const Plan& plan) {
  const std::optional<std::string> expected = expected_text(machine.struck);
  if (text) {
    ASSERT_TRUE(expected) << *text << ": " << plan;
    EXPECT_EQ(0u, text->find(*expected)) << *text << ": " << plan;
  } else if (expected) {
    // Survived: timestamps that could not be read, an allocation that went well the second time.
    const bool survivable =
        machine.struck.back() == Op::map ||
        (machine.struck.back() == Op::create_buffer && plan.code == platform::kOutOfMemory);
    EXPECT_TRUE(survivable) << *expected << ": " << plan;
  }
}

TEST(FailureSweep, Construction) {
  setenv("MORVA_DX12_DEBUG", "1", 1);
  for (const bool software : {false, true}) {
    sweep([software](const Plan& plan) {
      forget_everything();
      FakePlatform machine;
      machine.fail_any(plan.nth, plan.code, plan.from_then_on);
      std::optional<Device> device;
      auto text = thrown([&] { device.emplace(software, machine); });
      if (text && machine.struck.back() == Op::try_device) {
        EXPECT_EQ("DX12: нет аппаратного адаптера с D3D12", *text);
      } else {
        expect_text_of_struck(machine, text, plan);
      }
      const bool struck = machine.fail_nothing();
      device.reset();
      EXPECT_EQ(0u, machine.live_objects) << plan;
      EXPECT_TRUE(machine.misuses.empty()) << machine.misuses.front() << ": " << plan;
      return struck;
    });
  }
  unsetenv("MORVA_DX12_DEBUG");
}

// One operation on a device that has a source with a ramp in it and a target.
using Operation = void (*)(Device& device, Buffer& source, Buffer& target);

void copy_by_kernel(Device& device, Buffer& source, Buffer& target) {
  const std::vector<float> table(100);
  device.dispatch(Kernel::copy_main, 2, 1, {300}, table, {&source, nullptr, &target});
}

// Whether the device still carries floats there, through a kernel and back.
void expect_working(Device& device, const Plan& plan) {
  const auto source = device.upload(ramp(300).data(), 300);
  const auto target = device.alloc(300);
  copy_by_kernel(device, *source, *target);
  EXPECT_EQ(ramp(300), device.download(*target, 300)) << plan;
}

void sweep_operation(Operation operation) {
  sweep([operation](const Plan& plan) {
    forget_everything();
    FakePlatform machine;
    machine.run_kernel = run_copy;
    auto device = std::make_optional<Device>(false, machine);
    auto source = device->upload(ramp(300).data(), 300);
    auto target = device->alloc(300);
    device->submit();
    machine.fail_any(plan.nth, plan.code, plan.from_then_on);
    const auto text = thrown([&] { operation(*device, *source, *target); });
    expect_text_of_struck(machine, text, plan);
    if (!plan.from_then_on || text) device->abandon();
    const bool struck = machine.fail_nothing();
    expect_working(*device, plan);
    source.reset();
    target.reset();
    device.reset();
    EXPECT_EQ(0u, machine.live_objects) << plan;
    EXPECT_TRUE(machine.misuses.empty()) << machine.misuses.front() << ": " << plan;
    return struck;
  });
}

TEST(FailureSweep, DispatchAndItsList) {
  sweep_operation(copy_by_kernel);
}

TEST(FailureSweep, Upload) {
  sweep_operation([](Device& device, Buffer&, Buffer&) {
    static const std::vector<float> large(0x800001);  // past the ring
    device.upload(large.data(), large.size());
    device.upload(large.data(), 4000);
  });
}

TEST(FailureSweep, Download) {
  sweep_operation([](Device& device, Buffer& source, Buffer& target) {
    copy_by_kernel(device, source, target);
    device.download(target, 300);
  });
}

TEST(FailureSweep, Submit) {
  sweep_operation([](Device& device, Buffer& source, Buffer& target) {
    device.set_profiling(true);
    device.begin_mark("печать");
    copy_by_kernel(device, source, target);
    device.submit();
    copy_by_kernel(device, source, target);
    device.end_mark();
    device.submit();
  });
}

}  // namespace
}  // namespace morva::gpu
