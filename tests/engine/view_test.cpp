// The view through the C interface: what it shows, what it refuses, and how it fares when its
// device goes.

#include <array>
#include <atomic>
#include <cmath>
#include <thread>

#include "engine/gpu_host.h"

namespace morva {
namespace {

using Pixel = std::array<std::uint8_t, 4>;

constexpr Pixel kBlack{0, 0, 0, 255};
constexpr Pixel kWhite{255, 255, 255, 255};
constexpr Pixel kSlate{0x12, 0x34, 0x56, 255};  // the background of these tests
constexpr std::uint32_t kSlateRgb = 0x123456;

class GpuView : public GpuHostTest {
 protected:
  void SetUp() override {
    GpuHostTest::SetUp();
    MorvaError err;
    ASSERT_EQ(0, morva_view_create(0, &view, nullptr, &err)) << err.message;
  }
  void TearDown() override {
    morva_view_destroy(view);
    GpuHostTest::TearDown();
  }

  void draw(float scale, float x = 0.0f, float y = 0.0f, float angle_deg = 0.0f) {
    MorvaError err;
    ASSERT_EQ(0, morva_view_draw(view, scale, x, y, angle_deg, kSlateRgb, &err)) << err.message;
  }
  std::vector<Pixel> read(int32_t w, int32_t h) {
    std::vector<Pixel> pixels(static_cast<std::size_t>(w * h));
    MorvaError err;
    EXPECT_EQ(0, morva_view_readback(view, pixels.data(), w * h * 4, &err)) << err.message;
    return pixels;
  }
  std::vector<Pixel> drawn(int32_t w, int32_t h, float scale, float x = 0.0f, float y = 0.0f,
                           float angle_deg = 0.0f) {
    EXPECT_EQ(0, morva_view_resize(view, w, h, 1.0f, 1.0f, nullptr));
    draw(scale, x, y, angle_deg);
    return read(w, h);
  }
  void show(const std::vector<float>& rgb, int32_t w, int32_t h) {
    MorvaError err;
    ASSERT_EQ(0, morva_view_set_image(view, rgb.data(), w, h, &err)) << err.message;
  }
  // Columns of black and white in turn, beginning with black.
  void show_columns(int32_t w, int32_t h) {
    std::vector<float> rgb(static_cast<std::size_t>(w * h) * 3);
    for (std::size_t i = 0; i < rgb.size(); ++i)
      rgb[i] = static_cast<float>(i / 3 % static_cast<std::size_t>(w) % 2);
    show(rgb, w, h);
  }
  // A device lost in a render. The engine mends itself, or gives up when this is the second.
  static void lose_device() {
    morva_gpu_test_hook(1, 1);
    render(Scene(16, 12, 0.2f), R"({"grain_mult": 0})", "everyday_400");
    EXPECT_EQ(std::uint32_t{MORVA_LOSS_REMOVED}, engine_state().gpu.last_loss.reason);
  }

  MorvaView* view = nullptr;
};

TEST_F(GpuView, ANewViewIsEightByEightOfBackground) {
  EXPECT_EQ(std::vector<Pixel>(64), read(8, 8));
  draw(1.0f);
  MorvaError err;
  std::vector<std::uint8_t> room(256, 7);
  EXPECT_EQ(5, morva_view_readback(view, room.data(), 255, &err));
  EXPECT_STREQ("morva_view_readback: buffer too small", err.message);
  EXPECT_EQ(std::vector<std::uint8_t>(256, 7), room);
  EXPECT_EQ(5, morva_view_readback(view, nullptr, 256, nullptr));
  EXPECT_EQ(5, morva_view_readback(view, room.data(), -1, nullptr));
  EXPECT_EQ(std::vector<Pixel>(64, kSlate), read(8, 8));
}

// How it is sampled and placed stands with the kernel's own cases.
TEST_F(GpuView, LightIsEncodedAndHeldInRangeAndThePictureTurnsClockwise) {
  show({0.18f, 0.0f, 1.0f, 0.002f, -3.0f, 9.0f, NAN, INFINITY, -INFINITY}, 3, 1);
  std::vector<Pixel> pixels = drawn(6, 2, 2.0f);
  EXPECT_EQ((Pixel{118, 0, 255, 255}), pixels[0]);
  EXPECT_EQ((Pixel{7, 0, 255, 255}), pixels[2]);
  EXPECT_EQ((Pixel{0, 255, 0, 255}), pixels[4]);

  show({1.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f}, 2, 1);  // red, green
  // 8 x 4 pixels about (4, 4); turned, red is above.
  for (const float angle : {90.0f, 450.0f, -270.0f}) {
    pixels = drawn(8, 8, 4.0f, 0.0f, 2.0f, angle);
    EXPECT_EQ((Pixel{255, 0, 0, 255}), pixels[1 * 8 + 3]);
    EXPECT_EQ((Pixel{0, 255, 0, 255}), pixels[6 * 8 + 4]);
    EXPECT_EQ(kSlate, pixels[4 * 8 + 1]);
  }
}

TEST_F(GpuView, APictureIsReplacedAndClearedAndOutlivesTheBackend) {
  show(std::vector<float>(100 * 6 * 3, 0.0f), 100, 6);
  EXPECT_EQ(std::vector<Pixel>(600, kBlack), drawn(100, 6, 1.0f));
  const float light[] = {1.0f, 1.0f, 1.0f};
  for (int i = 0; i < 3; ++i) {
    show({1.0f, 1.0f, 1.0f}, 1, 1);
    EXPECT_EQ(std::vector<Pixel>(600, kWhite), drawn(100, 6, 100.0f));
    EXPECT_EQ(0, morva_view_set_image(view, i == 0 ? nullptr : light, i == 1 ? 0 : 1,
                                      i == 2 ? -1 : 1, nullptr));
    EXPECT_EQ(std::vector<Pixel>(600, kSlate), drawn(100, 6, 100.0f));
  }
  show_columns(8, 8);
  const std::vector<Pixel> before = drawn(8, 8, 1.0f);
  morva_release_gpu();
  show_columns(8, 8);
  EXPECT_EQ(before, drawn(8, 8, 1.0f));
}

TEST_F(GpuView, WrongCallsAreAnsweredPlainly) {
  MorvaError err;
  const float light[3] = {};
  std::uint8_t bytes[256];
  EXPECT_EQ(1, morva_view_set_image(nullptr, light, 1, 1, &err));
  EXPECT_STREQ("morva_view: null view", err.message);
  EXPECT_EQ(1, morva_view_resize(nullptr, 1, 1, 1.0f, 1.0f, nullptr));
  EXPECT_EQ(1, morva_view_draw(nullptr, 1.0f, 0.0f, 0.0f, 0.0f, 0, &err));
  EXPECT_EQ(1, morva_view_readback(nullptr, bytes, 256, &err));
  morva_view_destroy(nullptr);
  EXPECT_EQ(1, morva_view_create(0, nullptr, nullptr, &err));
  EXPECT_STREQ("morva_view_create: null out", err.message);

  auto* other = reinterpret_cast<MorvaView*>(1);
  void* chain = &err;
  EXPECT_EQ(5, morva_view_create(1, &other, &chain, &err));
  EXPECT_STREQ("DX12 view: swap chain", err.message);
  EXPECT_TRUE(other == nullptr && chain == nullptr);

  EXPECT_EQ(7, morva_view_set_image(view, light, 0x7FFFFFFF, 0x7FFFFFFF, &err));
  EXPECT_STREQ("показ: DX12 view: буфер — HRESULT 0x8007000E", err.message);
  EXPECT_EQ(7, morva_view_resize(view, 0x7FFFFFFF, 0x7FFFFFFF, 1.0f, 1.0f, &err));
  EXPECT_EQ(0, morva_view_resize(view, -3, 0, 1.0f, 1.0f, &err));
  draw(NAN, INFINITY, NAN, INFINITY);
  EXPECT_EQ(std::vector<Pixel>{kSlate}, read(1, 1));

  morva_set_backend("cpu", nullptr);
  EXPECT_EQ(1, morva_view_create(0, &other, nullptr, &err));
  EXPECT_STREQ("morva_view_create: GPU backend is not active (probe or morva_set_backend first)",
               err.message);
}

TEST_F(GpuView, ALostDeviceFailsEveryCallAndANewViewWorks) {
  show_columns(8, 8);
  const std::uint32_t generation = morva_gpu_generation();
  lose_device();
  EXPECT_EQ(generation + 1, morva_gpu_generation());
  const float light[3] = {};
  std::uint8_t bytes[256];
  MorvaError err;
  EXPECT_EQ(7, morva_view_set_image(view, light, 1, 1, &err));
  EXPECT_STREQ("показ: DX12 view: device removed — HRESULT 0x887A0005", err.message);
  for (const int32_t side : {8, 9})
    EXPECT_EQ(7, morva_view_resize(view, side, side, 1.0f, 1.0f, &err));
  EXPECT_EQ(7, morva_view_draw(view, 1.0f, 0.0f, 0.0f, 0.0f, 0, &err));
  EXPECT_EQ(7, morva_view_readback(view, bytes, 256, &err));

  MorvaView* next = nullptr;
  ASSERT_EQ(0, morva_view_create(0, &next, nullptr, &err)) << err.message;
  morva_view_destroy(view);
  view = next;
  EXPECT_EQ(std::vector<Pixel>(64, kSlate), drawn(8, 8, 1.0f));

  lose_device();  // the second within two minutes
  EXPECT_EQ(7, morva_view_create(0, &next, nullptr, &err));
  EXPECT_STREQ("видеокарта перестала отвечать: DEVICE_REMOVED", err.message);
  EXPECT_EQ(nullptr, next);
  EXPECT_EQ(7, morva_view_draw(view, 1.0f, 0.0f, 0.0f, 0.0f, 0, &err));
}

TEST_F(GpuView, AHostMayLookWhileItRenders) {
  std::atomic<bool> done = false;
  std::thread screen([&] {
    for (int32_t step = 0; !done; ++step) {
      show_columns(40 + step % 3, 30);
      const std::vector<Pixel> pixels = drawn(8 + step % 5, 8, 2.0f, 0.0f, 0.0f);
      EXPECT_EQ(kBlack, pixels[0]);
      EXPECT_EQ(kWhite, pixels[2]);
      MorvaView* passing = nullptr;
      EXPECT_EQ(0, morva_view_create(0, &passing, nullptr, nullptr));
      EXPECT_EQ(0, morva_view_draw(passing, 1.0f, 0.0f, 0.0f, 0.0f, 0, nullptr));
      morva_view_destroy(passing);
    }
  });
  for (const char* film : {"everyday_400", "silver_125"})
    EXPECT_EQ(0, render(Scene(48, 32, 0.2f), "{}", film).code);
  done = true;
  screen.join();
}

// A loss in the middle: each call tells its code, and destruction is safe.
TEST_F(GpuView, ADeviceMayGoWhileAHostLooks) {
  std::atomic<bool> done = false;
  std::atomic<int> lost = 0;
  std::thread screen([&] {
    while (!done && lost < 100) {
      const int32_t code = morva_view_draw(view, 1.0f, 0.0f, 0.0f, 0.0f, 0, nullptr);
      EXPECT_TRUE(code == 7 || (code == 0 && lost == 0)) << code;
      if (code == 7) ++lost;
    }
  });
  lose_device();
  done = true;
  screen.join();
  EXPECT_EQ(7, morva_view_draw(view, 1.0f, 0.0f, 0.0f, 0.0f, 0, nullptr));
}

}  // namespace
}  // namespace morva
