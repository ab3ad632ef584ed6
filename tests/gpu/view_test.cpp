// The view's own doings on a machine of host memory: which buffers it makes and keeps, what it
// tells its kernel, what every call that fails leaves behind.

#include "gpu/view.h"

#include <bit>
#include <cmath>

#include "gpu/device_test.h"
#include "input/failure_of.h"

namespace morva::gpu {
namespace {

using testing_files::failure_of;

// Words that tell their own place.
void number_words(const FakeDispatch& call) {
  if (call.kernel != "view_pack") return;
  const auto& q = call.constants;
  for (std::uint32_t y = 0; y < q[1]; ++y)
    for (std::uint32_t x = 0; x < q[0]; ++x)
      call.buffers[1][y * q[4] + x] = std::bit_cast<float>(y * 1000 + x);
}

class Views : public GpuTest {
 protected:
  Views() { make(); }
  void SetUp() override {
    GpuTest::SetUp();
    machine.run_kernel = [this](const FakeDispatch& call) {
      last = call;
      number_words(call);
    };
  }
  std::vector<std::uint32_t> read(View& view, std::uint32_t w, std::uint32_t h) {
    std::vector<std::uint32_t> words(std::size_t{w} * h);
    view.readback(words.data(), static_cast<std::int64_t>(words.size() * 4));
    return words;
  }
  // Sizes in bytes of the buffers made on the GPU since `from` calls.
  std::vector<std::uint64_t> made_since(std::size_t from) {
    std::vector<std::uint64_t> sizes;
    for (std::size_t i = from; i < machine.calls.size(); ++i) {
      const Call& call = machine.calls[i];
      const auto local = static_cast<std::uint64_t>(platform::Heap::device_local);
      if (call.op == Op::create_buffer && call.values[0] == local) sizes.push_back(call.values[1]);
    }
    return sizes;
  }

  FakeDispatch last;
};

TEST_F(Views, RowsBeginAt256BytesAndComeBackClose) {
  View view(*device, false);
  for (const auto& [width, pitch] : {std::pair{8u, 64u}, {64u, 64u}, {65u, 128u}, {100u, 128u}}) {
    const std::size_t before = machine.calls.size();
    view.resize(static_cast<std::int32_t>(width), 3);
    EXPECT_EQ(std::vector<std::uint64_t>{pitch * 3 * 4}, made_since(before));
    EXPECT_EQ(std::vector<std::uint32_t>(width * 3), read(view, width, 3));  // nothing drawn yet
    view.draw(1.0f, 0.0f, 0.0f, 0.0f, 0);
    EXPECT_EQ(pitch, last.constants[4]);
    const std::vector<std::uint32_t> words = read(view, width, 3);
    EXPECT_EQ(0u, words.front());
    EXPECT_EQ(2000 + width - 1, words.back());
    EXPECT_EQ(1000u, words[width]);
  }
  const std::size_t before = machine.calls.size();
  view.resize(100, 3);
  EXPECT_TRUE(made_since(before).empty());
  view.resize(0, -5);
  view.draw(1.0f, 0.0f, 0.0f, 0.0f, 0);
  EXPECT_EQ(1u, last.constants[0] * last.constants[1]);
}

TEST_F(Views, OnlyALargerPictureAsksForMemory) {
  View view(*device, false);
  const std::vector<float> floats = ramp(300);
  std::size_t before = machine.calls.size();
  view.set_image(floats.data(), 10, 9);
  view.set_image(floats.data(), 3, 30);
  view.set_image(floats.data(), 1, 2);
  view.set_image(nullptr, 10, 10);
  view.set_image(floats.data(), 10, 10);
  EXPECT_EQ((std::vector<std::uint64_t>{90 * 12, 100 * 12}), made_since(before));
  view.draw(1.0f, 0.0f, 0.0f, 0.0f, 0);
  EXPECT_TRUE(std::equal(floats.begin(), floats.end(), last.buffers[0].begin()));
  // A picture that no kernel can number, and an output alike.
  EXPECT_THROW(view.set_image(floats.data(), 40000, 40000), GpuLost);
  EXPECT_THROW(view.set_image(floats.data(), 0x7FFFFFFF, 0x7FFFFFFF), GpuLost);
  EXPECT_THROW(view.resize(0x7FFFFFFF, 3), GpuLost);
  view.draw(1.0f, 0.0f, 0.0f, 0.0f, 0);
  EXPECT_EQ(10u, last.constants[2]);
  EXPECT_EQ(8u, last.constants[0]);
}

TEST_F(Views, WhatTheKernelIsTold) {
  View view(*device, false);
  const std::vector<float> floats = ramp(18);
  view.resize(70, 20);
  view.set_image(floats.data(), 3, 2);
  view.draw(0.5f, -3.0f, 7.0f, 270.0f, 0xFF123456);
  const std::array<std::uint32_t, 16> words{70, 20, 3, 2, 128, 0x123456, 0, 0,
                                            0,  0,  0, 0, 0,   0,        0, 6 * 256};
  EXPECT_EQ(words, last.constants);
  EXPECT_EQ(0.5f, last.table[0]);
  EXPECT_EQ(-3.0f, last.table[1]);
  EXPECT_EQ(7.0f, last.table[2]);
  EXPECT_FLOAT_EQ(-1.5707964f, last.table[3]);
  for (const float nothing : {0.0f, -2.0f, NAN, INFINITY}) {
    view.draw(nothing, NAN, INFINITY, -INFINITY, 0);
    EXPECT_EQ((std::vector<float>{1.0f, 0.0f, 0.0f, 0.0f}),
              (std::vector<float>{last.table.begin(), last.table.begin() + 4}));
  }
  view.set_image(floats.data(), 3, 0);
  view.draw(1.0f, 0.0f, 0.0f, 0.0f, 0);
  EXPECT_EQ(0u, last.constants[2]);
}

TEST_F(Views, AViewOutlivesItsDeviceAndSharesOnePipeline) {
  View first(*device, false);
  View second(*device, false);
  EXPECT_EQ(1u, machine.count(Op::create_pipeline));
  device.reset();
  second.draw(1.0f, 0.0f, 0.0f, 0.0f, 0);
  EXPECT_EQ(7007u, read(second, 8, 8).back());
}

TEST_F(Views, ALostDeviceFailsEveryCall) {
  View view(*device, false);
  machine.lost = platform::kDeviceHung;
  const std::vector<float> floats = ramp(12);
  std::uint32_t words[64];
  const std::string gone = "DX12 view: device removed — HRESULT 0x887A0006";
  EXPECT_EQ(gone, failure_of([&] { view.set_image(floats.data(), 2, 2); }));
  EXPECT_EQ(gone, failure_of([&] { view.set_image(nullptr, 0, 0); }));
  EXPECT_EQ(gone, failure_of([&] { view.resize(8, 8); }));
  EXPECT_EQ(gone, failure_of([&] { view.draw(1.0f, 0.0f, 0.0f, 0.0f, 0); }));
  EXPECT_EQ(gone, failure_of([&] { view.readback(words, sizeof words); }));
}

// What a call that fails says; `Close` and `Map` begin several texts.
const std::map<Op, std::string> kTexts = {
    {Op::create_pipeline, "DX12: конвейер кернела показа — HRESULT"},
    {Op::create_queue, "DX12 view: queue — HRESULT"},
    {Op::create_allocator, "DX12 view: allocator — HRESULT"},
    {Op::create_list, "DX12 view: list — HRESULT"},
    {Op::list_close, "DX12 view: Close"},
    {Op::create_fence, "DX12 view: fence — HRESULT"},
    {Op::open_event, "DX12 view: fence event"},
    {Op::create_buffer, "DX12 view: буфер — HRESULT"},
    {Op::map, "DX12 view: Map "},
    {Op::allocator_reset, "DX12 view: Reset allocator — HRESULT"},
    {Op::list_reset, "DX12 view: Reset list — HRESULT"},
    {Op::signal, "DX12 view: Signal — HRESULT"},
    {Op::wait, "DX12 view: SetEventOnCompletion — HRESULT"},
    {Op::removed_reason, "DX12 view: device removed — HRESULT"},
};

// A whole life, a call of which fails; whatever fails, the view goes on after it.
TEST_F(Views, EveryFailureIsToldAndMended) {
  const std::vector<float> floats = ramp(12);
  std::size_t failures = 0;
  for (std::uint64_t nth = 1;; ++nth) {
    device.reset();
    make();
    machine.fail_any(nth, platform::kFailed);
    std::unique_ptr<View> view;
    const std::string text = failure_of([&] {
      view = std::make_unique<View>(*device, false);
      view->set_image(floats.data(), 2, 2);
      view->resize(30, 4);
      view->draw(1.0f, 0.0f, 0.0f, 0.0f, 0);
      read(*view, 30, 4);
    });
    const std::vector<Op> struck = machine.struck;
    if (!machine.fail_nothing()) {
      EXPECT_EQ("", text);
      break;
    }
    ++failures;
    ASSERT_EQ(1u, struck.size());
    EXPECT_EQ(0u, text.find(kTexts.at(struck.front()))) << text;
    if (view == nullptr) continue;
    view->draw(1.0f, 0.0f, 0.0f, 0.0f, 0);
    const bool whole = last.constants[2] == 2 && last.constants[3] == 2;
    EXPECT_TRUE(whole || last.constants[2] == 0);
    if (whole) {
      EXPECT_TRUE(std::equal(floats.begin(), floats.end(), last.buffers[0].begin()));
    }
    EXPECT_EQ(last.constants[0] - 1,
              read(*view, last.constants[0], last.constants[1])[last.constants[0] - 1]);
  }
  EXPECT_GT(failures, 25u);
  EXPECT_EQ("DX12 view: swap chain", failure_of([&] { View(*device, true); }));
}

}  // namespace
}  // namespace morva::gpu
