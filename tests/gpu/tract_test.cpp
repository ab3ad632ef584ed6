// Whole renders on a machine of host memory on which ever later calls fail. Its kernels compute
// nothing, so the sheet is junk; what counts is the road: every failure ends in a sheet or in an
// error, and the device that stays, or the one built anew, renders on.

#include "gpu/tract.h"

#include <algorithm>
#include <exception>
#include <string>

#include "flow/flow.h"
#include "gpu/backend_holder.h"
#include "gpu/device_test.h"
#include "image/errors.h"
#include "profiles/store.h"

namespace morva::gpu {
namespace {

constexpr std::int64_t kFarApartNs = 1'000'000'000'000;

class TractTest : public GpuTest {
 protected:
  void SetUp() override {
    GpuTest::SetUp();
    machine.run_kernel = nullptr;
    holder.source = &machine;
    select_gpu(holder, false);
  }
  void TearDown() override {
    release_backend(holder);
    GpuTest::TearDown();
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
    machine.clock_ns += kFarApartNs;
    forget_losses(holder);
    if (holder.lost) retry_backend(holder);
    machine.calls.clear();
  }
  void expect_clean(const std::string& why) {
    for (const std::string& misuse : machine.misuses) ADD_FAILURE() << misuse << ": " << why;
    machine.misuses.clear();
  }

  const ProfileStore store{MORVA_PROFILES_PATH};
  const Json options = {{"frame_style", "thin"}, {"grain_mult", 0}, {"dev_uneven", 1}};
  BackendHolder holder;
};

TEST_F(TractTest, AnyCallMayFailAndTheNextRenderWorks) {
  for (const platform::Result code :
       {platform::kFailed, platform::kOutOfMemory, platform::kDeviceHung})
    for (const bool from_then_on : {false, true})
      for (std::uint64_t nth = 1;; ++nth) {
        const std::string why = "call " + std::to_string(nth) + ", code " +
                                std::to_string(code.code) + (from_then_on ? " from then on" : "");
        start_afresh();
        machine.fail_any(nth, code, from_then_on);
        const bool rendered = render();
        const bool struck = machine.fail_nothing();
        expect_clean(why);
        if (!from_then_on && code != platform::kFailed) {
          EXPECT_TRUE(rendered) << why;
        }
        if (code == platform::kOutOfMemory) {
          EXPECT_FALSE(holder.lost) << why;
          EXPECT_EQ(0u, holder.generation) << why;
        }
        start_afresh();
        EXPECT_TRUE(render()) << why;
        expect_clean(why + ", and the next");
        if (HasFailure() || !struck) break;
        ASSERT_LT(nth, 2000u);
      }
}

// What a failed render measured, left open or was about to be billed shows in nothing afterwards.
TEST_F(TractTest, AFailedRenderLeavesNoTraceInTheNextOnesReport) {
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
    machine.fail(op, 1, platform::kFailed);
    EXPECT_THROW(render_once(), std::runtime_error);
    machine.fail_nothing();
    again("a failed call");
  }
}

}  // namespace
}  // namespace morva::gpu
