// Every call that can fail, failed in turn: the text is the failing call's, nothing leaks, and a
// device that was not lost goes on; so do a view and whole renders.

#include <algorithm>
#include <bit>
#include <cstdlib>

#include "flow/flow.h"
#include "gpu/device_test.h"
#include "gpu/view.h"
#include "image/errors.h"
#include "profiles/store.h"

namespace morva::gpu {
namespace {

// What a failed call says after the device's "DX12: " and after a view's "DX12 view: "; calls that
// are not here are done without.
struct Texts {
  std::string of_device;
  std::string of_view = "";
};
const std::map<Op, Texts> kTexts = {
    {Op::enable_debug_layer, {"отладочный слой недоступен"}},
    {Op::create_factory, {"фабрика DXGI — HRESULT"}},
    {Op::adapter, {"нет аппаратного адаптера с D3D12"}},
    {Op::software_adapter, {"WARP — HRESULT"}},
    {Op::create_device, {"устройство — HRESULT"}},
    {Op::create_queue, {"очередь — HRESULT", "queue — HRESULT"}},
    {Op::create_allocator, {"аллокатор — HRESULT", "allocator — HRESULT"}},
    {Op::create_list, {"список команд — HRESULT", "list — HRESULT"}},
    {Op::create_fence, {"забор — HRESULT", "fence — HRESULT"}},
    {Op::open_event, {"событие забора", "fence event"}},
    {Op::create_query_heap, {"куча меток времени — HRESULT"}},
    {Op::create_buffer, {"буфер — HRESULT", "буфер — HRESULT"}},
    {Op::check_layout, {"корневая сигнатура: too few bindings"}},
    {Op::create_layout, {"корневая сигнатура — HRESULT"}},
    {Op::create_pipeline, {"конвейер кернела copy_main — HRESULT"}},
    {Op::allocator_reset, {"Reset аллокатора — HRESULT", "Reset allocator — HRESULT"}},
    {Op::list_reset, {"Reset списка — HRESULT", "Reset list — HRESULT"}},
    {Op::list_close, {"Close", "Close"}},
    {Op::map, {"Map ", "Map "}},
    {Op::signal, {"Signal — HRESULT", "Signal — HRESULT"}},
    {Op::wait, {"SetEventOnCompletion — HRESULT", "SetEventOnCompletion — HRESULT"}},
    {Op::removed_reason, {"устройство потеряно — HRESULT", "device removed — HRESULT"}},
};

std::optional<std::string> expected_text(const std::vector<Op>& struck, bool in_view) {
  if (in_view && struck.size() > 0 && struck.back() == Op::create_pipeline)
    return "DX12: конвейер кернела показа — HRESULT";
  for (auto op = struck.rbegin(); op != struck.rend(); ++op) {
    const auto texts = kTexts.find(*op);
    if (texts == kTexts.end()) continue;
    return in_view ? "DX12 view: " + texts->second.of_view : "DX12: " + texts->second.of_device;
  }
  return std::nullopt;
}

// Runs `attempt` with ever later calls failing until it passes untouched. It gets the plan and
// tells whether the plan came to pass.
template <class Attempt>
void sweep(const Attempt& attempt) {
  for (const platform::Result code :
       {platform::kFailed, platform::kOutOfMemory, platform::kDeviceRemoved})
    for (const bool from_then_on : {false, true})
      for (std::uint64_t nth = 1;; ++nth) {
        const FailurePlan plan = {nth, code, from_then_on};
        SCOPED_TRACE(::testing::Message() << "call " << nth << " with " << code.code
                                          << (from_then_on ? " from then on" : " once"));
        forget_everything();
        const bool struck = attempt(plan);
        if (::testing::Test::HasFailure()) return;
        ASSERT_LT(nth, 2000u);
        if (struck) continue;
        EXPECT_GT(nth, 2u);
        break;
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
                           const FailurePlan& plan, bool in_view = false) {
  const std::optional<std::string> expected = expected_text(machine.struck, in_view);
  if (text) {
    ASSERT_TRUE(expected) << *text;
    EXPECT_EQ(0u, text->find(*expected)) << *text;
  } else if (expected) {
    // Survived: timestamps that could not be read, an allocation that went well the second time.
    const Op last = machine.struck.back();
    EXPECT_TRUE(last == Op::map ||
                (last == Op::create_buffer && plan.code == platform::kOutOfMemory))
        << *expected;
  }
}

TEST(FailureSweep, Construction) {
  setenv("MORVA_DX12_DEBUG", "1", 1);
  for (const bool software : {false, true}) {
    sweep([software](const FailurePlan& plan) {
      FakePlatform machine;
      machine.fail(plan);
      std::optional<Device> device;
      const auto text = thrown([&] { device.emplace(software, machine); });
      if (text && machine.struck.back() == Op::try_device) {
        EXPECT_EQ("DX12: нет аппаратного адаптера с D3D12", *text);
      } else {
        expect_text_of_struck(machine, text, plan);
      }
      return machine.fail_nothing();
    });
  }
  unsetenv("MORVA_DX12_DEBUG");
}

// One operation on a device that has a source with a ramp in it and a target.
using Operation = void (*)(Device& device, Buffer& source, Buffer& target);

// Whether the device still carries floats there, through a kernel and back.
void expect_working(Device& device) {
  const auto source = device.upload(ramp(300).data(), 300);
  const auto target = device.alloc(300);
  copy_by_kernel(device, *source, *target, 300);
  EXPECT_EQ(ramp(300), device.download(*target, 300));
}

void sweep_operation(Operation operation) {
  sweep([operation](const FailurePlan& plan) {
    FakePlatform machine;
    machine.run_kernel = run_copy;
    Device device(false, machine);
    const auto source = device.upload(ramp(300).data(), 300);
    const auto target = device.alloc(300);
    device.submit();
    machine.fail(plan);
    const auto text = thrown([&] { operation(device, *source, *target); });
    expect_text_of_struck(machine, text, plan);
    if (!plan.from_then_on || text) device.abandon();
    const bool struck = machine.fail_nothing();
    expect_working(device);
    return struck;
  });
}

TEST(FailureSweep, Dispatch) {
  sweep_operation([](Device& device, Buffer& source, Buffer& target) {
    copy_by_kernel(device, source, target, 300);
  });
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
    copy_by_kernel(device, source, target, 300);
    device.download(target, 300);
  });
}

TEST(FailureSweep, Submit) {
  sweep_operation([](Device& device, Buffer& source, Buffer& target) {
    device.set_profiling(true);
    device.begin_mark("печать");
    copy_by_kernel(device, source, target, 300);
    device.submit();
    copy_by_kernel(device, source, target, 300);
    device.end_mark();
    device.submit();
  });
}

// A whole life of a view, which then shows its picture or, where that was lost, none.
TEST(FailureSweep, View) {
  const std::vector<float> floats = ramp(12);
  std::vector<std::uint32_t> words(30 * 8);
  sweep([&](const FailurePlan& plan) {
    FakePlatform machine;
    FakeDispatch last;
    machine.run_kernel = [&last](const FakeDispatch& call) {
      last = call;
      call.buffers[1][call.constants[0] - 1] = 5.0f;  // the first row's end
    };
    Device device(false, machine);
    std::unique_ptr<View> view;
    machine.fail(plan);
    const auto text = thrown([&] {
      view = std::make_unique<View>(device, false);
      view->set_image(floats.data(), 2, 2);
      view->resize(30, 4);
      view->draw(1.0f, 0.0f, 0.0f, 0.0f, 0);
      view->readback(words.data(), 30 * 8 * 4);
    });
    EXPECT_EQ(text.has_value(), !machine.struck.empty());
    expect_text_of_struck(machine, text, plan, true);
    const bool struck = machine.fail_nothing();
    if (view == nullptr) return struck;
    view->draw(1.0f, 0.0f, 0.0f, 0.0f, 0);
    const bool whole = last.constants[2] == 2 && last.constants[3] == 2;
    EXPECT_TRUE(whole || last.constants[2] == 0);
    if (whole) {
      EXPECT_TRUE(std::equal(floats.begin(), floats.end(), last.buffers[0].begin()));
    }
    view->readback(words.data(), 30 * 8 * 4);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(5.0f), words[last.constants[0] - 1]);
    return struck;
  });
}

// Whole renders. The kernels compute nothing, so the sheet is junk; what counts is the road: every
// failure ends in a sheet or in an error, and the device that stays, or the one built anew, renders
// on.
class RenderSweep : public GpuTest {
 protected:
  void SetUp() override {
    GpuTest::SetUp();
    machine.run_kernel = nullptr;
    select_gpu(holder, false);
  }

  void render_once(const std::int32_t* cancel = nullptr) {
    RenderContext ctx;
    ctx.gpu = holder.backend.get();
    ctx.cancel = cancel;
    holder.backend->begin_render(true);
    const Image sheet = render_named(store, Image(16, 24, 3, 0.18f), "everyday_400",
                                     "portrait_soft", "color_gloss", options, ctx);
    EXPECT_FALSE(sheet.data.empty());
  }
  // As the engine does it; whether there is a sheet.
  bool render() {
    for (bool first = true;; first = false) {
      if (is_lost(holder)) return false;
      try {
        render_once();
        return true;
      } catch (const GpuLost& lost) {
        if (!recover(holder, lost, first)) return false;
      } catch (const std::runtime_error&) {
        return false;
      }
    }
  }
  // A ready device and no memory of losses.
  void start_afresh() {
    machine.clock_ns += 1'000'000'000'000;
    forget_losses(holder);
    if (holder.lost) retry_backend(holder);
    machine.calls.clear();
  }

  const ProfileStore store{MORVA_PROFILES_PATH};
  const Json options = {{"frame_style", "thin"}, {"grain_mult", 0}, {"dev_uneven", 1}};
};

TEST_F(RenderSweep, AnyCallMayFailAndTheNextRenderWorks) {
  sweep([&](const FailurePlan& plan) {
    start_afresh();
    const std::uint32_t generation = holder.generation;
    machine.fail(plan);
    const bool rendered = render();
    const bool struck = machine.fail_nothing();
    EXPECT_TRUE(rendered || plan.from_then_on || plan.code == platform::kFailed);
    if (plan.code == platform::kOutOfMemory) {
      EXPECT_FALSE(holder.lost);
      EXPECT_EQ(generation, holder.generation);
    }
    start_afresh();
    EXPECT_TRUE(render());
    EXPECT_EQ(std::vector<std::string>{}, machine.misuses);
    return struck;
  });
}

// What a failed render measured, left open or was about to be billed shows in nothing afterwards.
TEST_F(RenderSweep, AFailedRenderLeavesNoTraceInTheNextOnesReport) {
  ASSERT_TRUE(render());  // fills the pool and builds the pipelines
  ASSERT_TRUE(render());
  const auto costs = cost_model().ns_by_key;
  const RenderStats plain = holder.backend->device().stats();
  const auto again = [&](const char* why) {
    SCOPED_TRACE(why);
    EXPECT_EQ(costs, cost_model().ns_by_key);
    ASSERT_TRUE(render());
    const RenderStats& stats = holder.backend->device().stats();
    EXPECT_EQ(plain.dispatches, stats.dispatches);
    EXPECT_EQ(plain.submits, stats.submits);
    EXPECT_EQ(plain.uploads, stats.uploads);
    EXPECT_EQ(plain.gpu_ms_by_name, stats.gpu_ms_by_name);
    EXPECT_EQ(plain.calls_by_name, stats.calls_by_name);
    EXPECT_EQ(costs, cost_model().ns_by_key);
  };
  for (const std::int32_t at : {2, 11, 23}) {
    test_hooks().throw_at = at;
    test_hooks().dispatch_count = 0;
    EXPECT_THROW(render_once(), std::runtime_error);
    again("an exception");
  }
  const std::int32_t cancel = 1;
  EXPECT_THROW(render_once(&cancel), Cancelled);
  again("a cancelled render");
  for (const Op op : {Op::create_buffer, Op::list_close, Op::signal}) {
    machine.fail({1, platform::kFailed, false, op});
    EXPECT_THROW(render_once(), std::runtime_error);
    machine.fail_nothing();
    again("a failed call");
  }
}

}  // namespace
}  // namespace morva::gpu
