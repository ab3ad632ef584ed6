// The view on a machine of host memory: which buffers it makes and keeps, what it tells its kernel.

#include "gpu/view.h"

#include <cmath>

#include "gpu/device_test.h"

namespace morva::gpu {
namespace {

class Views : public GpuTest {
 protected:
  void SetUp() override {
    GpuTest::SetUp();
    machine.run_kernel = [this](const FakeDispatch& call) { last = call; };
    view.emplace(make(), false);
    machine.calls.clear();
  }
  void TearDown() override {
    view.reset();
    GpuTest::TearDown();
  }

  FakeDispatch last;
  std::optional<View> view;
};

TEST_F(Views, OnlyALargerPictureAsksForMemory) {
  const std::vector<float> floats = ramp(300);
  view->set_image(floats.data(), 10, 9);
  view->set_image(floats.data(), 3, 30);
  view->set_image(floats.data(), 1, 2);
  view->set_image(nullptr, 10, 10);
  view->set_image(floats.data(), 10, 10);
  view->resize(8, 8);  // as it is
  EXPECT_EQ((std::vector<std::uint64_t>{90 * 12, 100 * 12}),
            machine.made(platform::Heap::device_local));
  view->draw(1.0f, 0.0f, 0.0f, 0.0f, 0);
  EXPECT_TRUE(std::equal(floats.begin(), floats.end(), last.buffers[0].begin()));
  // A picture that no kernel can number, and an output alike.
  EXPECT_THROW(view->set_image(floats.data(), 40000, 40000), GpuLost);
  EXPECT_THROW(view->set_image(floats.data(), 0x7FFFFFFF, 0x7FFFFFFF), GpuLost);
  EXPECT_THROW(view->resize(0x7FFFFFFF, 3), GpuLost);
  view->draw(1.0f, 0.0f, 0.0f, 0.0f, 0);
  EXPECT_EQ(10u, last.constants[2]);
  EXPECT_EQ(8u, last.constants[0]);
}

TEST_F(Views, NumbersThatAreNotFiniteCountAsAbsent) {
  view->draw(1.0f, 0.0f, 0.0f, 270.0f, 0);
  EXPECT_FLOAT_EQ(-1.5707964f, last.table[3]);
  for (const float nothing : {0.0f, -2.0f, NAN, INFINITY}) {
    view->draw(nothing, NAN, INFINITY, -INFINITY, 0);
    EXPECT_EQ((std::vector<float>{1.0f, 0.0f, 0.0f, 0.0f}),
              (std::vector<float>{last.table.begin(), last.table.begin() + 4}));
  }
}

}  // namespace
}  // namespace morva::gpu
