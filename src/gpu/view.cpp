#include "gpu/view.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "gpu/gpu_error.h"
#include "gpu/kernels/view_layout.h"
#include "image/elementary.h"

namespace morva::gpu {

struct ViewState {
  std::mutex mutex;  // held through every operation; guards all that follows

  // Each lives longer than those after it.
  SharedParts shared;
  std::unique_ptr<platform::Resource> image;   // R, G, B floats; null before the first picture
  std::unique_ptr<platform::Resource> packed;  // a word a pixel
  std::unique_ptr<platform::Resource> params;  // the kernel's table
  float* params_mapped = nullptr;
  std::unique_ptr<platform::Queue> queue;
  std::unique_ptr<platform::Allocator> allocator;
  std::unique_ptr<platform::List> list;
  std::unique_ptr<platform::Fence> fence;
  std::uint64_t fence_value = 0;

  std::uint64_t image_capacity = 0;  // bytes
  std::uint32_t image_w = 0;         // 0: nothing to show
  std::uint32_t image_h = 0;
  std::uint32_t out_w = 0;
  std::uint32_t out_h = 0;
  std::uint32_t pitch = 0;  // words of `packed` from row to row
  bool drawn = false;       // `packed` holds a drawing
};

namespace {

constexpr const char* kPrefix = "DX12 view";
constexpr std::int32_t kFirstSize = 8;
constexpr std::uint64_t kParamsBytes = 256;
constexpr std::uint64_t kPitchWords = 64;  // displays take rows that begin at 256 bytes
constexpr std::uint64_t kPixelBytes = 3 * sizeof(float);
constexpr std::uint64_t kWordBytes = sizeof(std::uint32_t);
constexpr std::uint64_t kMostElements = 0xFFFFFFFF;  // that a kernel can number

void check_view(platform::Result result, const char* what) {
  check(result, what, kPrefix);
}

void check_alive(const ViewState& view) {
  check_view(view.shared.device->removed_reason(), "device removed");
}

std::unique_ptr<platform::Resource> make_buffer(const ViewState& view, platform::Heap heap,
                                                std::uint64_t bytes, const char* name) {
  return create_buffer(*view.shared.device, heap, bytes, name, kPrefix);
}

// rows * row_elements, which a kernel must be able to number.
std::uint64_t count_elements(std::uint64_t rows, std::uint64_t row_elements) {
  if (row_elements > kMostElements / rows) check_view(platform::kOutOfMemory, "буфер");
  return rows * row_elements;
}

void make_queue_and_list(ViewState& view) {
  platform::Device& device = *view.shared.device;
  check_view(device.create_queue(&view.queue), "queue");
  view.queue->set_name("morva view");
  check_view(device.create_allocator(&view.allocator), "allocator");
  check_view(device.create_list(*view.allocator, &view.list), "list");
  check_view(view.list->close(), "Close");
  check_view(device.create_fence(0, &view.fence), "fence");
  if (!view.fence->open_event().ok()) throw std::runtime_error("DX12 view: fence event");
}

void make_params(ViewState& view) {
  view.params = make_buffer(view, platform::Heap::upload, kParamsBytes, "morva view params");
  void* memory = nullptr;
  check_view(view.params->map(0, &memory), "Map params");
  view.params_mapped = static_cast<float*>(memory);
}

void open_list(ViewState& view) {
  check_view(view.allocator->reset(), "Reset allocator");
  check_view(view.list->reset(*view.allocator), "Reset list");
}

void run_list(ViewState& view) {
  check_view(view.list->close(), "Close list");
  view.queue->execute(*view.list);
  ++view.fence_value;
  check_view(view.queue->signal(*view.fence, view.fence_value), "Signal");
  check_view(view.fence->wait(view.fence_value), "SetEventOnCompletion");
  check_alive(view);
}

std::unique_ptr<platform::Resource> upload_buffer(const ViewState& view, const float* floats,
                                                  std::uint64_t bytes) {
  auto upload = make_buffer(view, platform::Heap::upload, bytes, "morva view upload");
  void* memory = nullptr;
  check_view(upload->map(0, &memory), "Map upload");
  std::memcpy(memory, floats, bytes);
  upload->unmap();
  return upload;
}

// Copies `bytes` at the start of `from` to the start of `to`, and waits.
void copy_now(ViewState& view, platform::Resource& to, platform::Resource& from,
              std::uint64_t bytes) {
  open_list(view);
  view.list->copy(to, 0, from, 0, bytes);
  run_list(view);
}

float finite_or(float number, float otherwise) {
  return std::isfinite(number) ? number : otherwise;
}

// Within half a turn.
float radians_of(float angle_deg) {
  return std::remainder(finite_or(angle_deg, 0.0f), 360.0f) * 3.1415927f / 180.0f;
}

std::array<std::uint32_t, platform::kConstantWords> constants_of(const ViewState& view,
                                                                 const LaunchGrid& launch,
                                                                 std::uint32_t background) {
  std::array<std::uint32_t, platform::kConstantWords> words{};
  words[view_sizes::kOutWidth] = view.out_w;
  words[view_sizes::kOutHeight] = view.out_h;
  words[view_sizes::kPictureWidth] = view.image_w;
  words[view_sizes::kPictureHeight] = view.image_h;
  words[view_sizes::kPitch] = view.pitch;
  words[view_sizes::kBackground] = background & 0xFFFFFF;
  words[view_sizes::kRowThreads] = launch.row_threads;
  return words;
}

void record_drawing(ViewState& view, std::uint32_t background) {
  const LaunchGrid launch = grid(std::uint64_t{view.out_w} * view.out_h);
  platform::List& list = *view.list;
  list.set_layout(*view.shared.layout);
  list.set_pipeline(*view.shared.view_pack);
  list.set_constants(constants_of(view, launch, background));
  list.set_band_row(0);
  list.bind_table(*view.params);
  list.bind_buffer(0, view.image ? *view.image : *view.packed);
  for (std::uint32_t slot = 1; slot < platform::kBufferSlots; ++slot)
    list.bind_buffer(slot, *view.packed);
  list.dispatch(launch.groups_x, launch.groups_y, 1);
}

// Rows of `row_bytes` close together, out of rows that begin `pitch_bytes` apart.
void close_rows(std::byte* to, const std::byte* from, std::uint64_t rows, std::uint64_t row_bytes,
                std::uint64_t pitch_bytes) {
  for (std::uint64_t row = 0; row < rows; ++row)
    std::memcpy(to + row * row_bytes, from + row * pitch_bytes, row_bytes);
}

}  // namespace

View::View(Device& device, bool with_swap_chain) : state_(std::make_unique<ViewState>()) {
  if (with_swap_chain) throw std::runtime_error("DX12 view: swap chain");
  state_->shared = device.share();
  make_queue_and_list(*state_);
  make_params(*state_);
  resize(kFirstSize, kFirstSize);
}

View::~View() = default;

void View::set_image(const float* rgb, std::int32_t width, std::int32_t height) {
  ViewState& view = *state_;
  const std::lock_guard guard(view.mutex);
  check_alive(view);
  if (rgb == nullptr || width < 1 || height < 1) {
    view.image_w = 0;
    return;
  }
  const auto w = static_cast<std::uint32_t>(width);
  const auto h = static_cast<std::uint32_t>(height);
  const std::uint64_t bytes = count_elements(h, std::uint64_t{w} * 3) / 3 * kPixelBytes;
  std::unique_ptr<platform::Resource> larger;
  if (view.image == nullptr || view.image_capacity < bytes)
    larger = make_buffer(view, platform::Heap::device_local, bytes, "morva view image");
  const auto upload = upload_buffer(view, rgb, bytes);
  if (larger) {
    view.image = std::move(larger);
    view.image_capacity = bytes;
  }
  view.image_w = 0;  // until the copy has come through
  copy_now(view, *view.image, *upload, bytes);
  view.image_w = w;
  view.image_h = h;
}

void View::resize(std::int32_t width, std::int32_t height) {
  ViewState& view = *state_;
  const std::lock_guard guard(view.mutex);
  check_alive(view);
  const auto w = static_cast<std::uint32_t>(std::max(width, 1));
  const auto h = static_cast<std::uint32_t>(std::max(height, 1));
  if (w == view.out_w && h == view.out_h) return;
  const std::uint64_t pitch = (w + kPitchWords - 1) / kPitchWords * kPitchWords;
  const std::uint64_t bytes = count_elements(h, pitch) * kWordBytes;
  view.packed = make_buffer(view, platform::Heap::device_local, bytes, "morva view packed");
  view.out_w = w;
  view.out_h = h;
  view.pitch = static_cast<std::uint32_t>(pitch);
  view.drawn = false;
}

void View::draw(float scale, float x, float y, float angle_deg, std::uint32_t background) {
  ViewState& view = *state_;
  const std::lock_guard guard(view.mutex);
  check_alive(view);
  view.params_mapped[view_place::kScale] = scale > 0.0f ? finite_or(scale, 1.0f) : 1.0f;
  view.params_mapped[view_place::kX] = finite_or(x, 0.0f);
  view.params_mapped[view_place::kY] = finite_or(y, 0.0f);
  const float angle = radians_of(angle_deg);
  view.params_mapped[view_place::kAngle] = angle;
  view.params_mapped[view_place::kCosine] = static_cast<float>(elementary::cos(double{angle}));
  view.params_mapped[view_place::kSine] = static_cast<float>(elementary::sin(double{angle}));
  open_list(view);
  record_drawing(view, background);
  run_list(view);
  view.drawn = true;
}

void View::readback(void* to, std::int64_t room_bytes) {
  ViewState& view = *state_;
  const std::lock_guard guard(view.mutex);
  check_alive(view);
  const std::uint64_t row_bytes = view.out_w * kWordBytes;
  if (to == nullptr || room_bytes < 0 ||
      static_cast<std::uint64_t>(room_bytes) < row_bytes * view.out_h)
    throw std::invalid_argument("morva_view_readback: buffer too small");
  if (!view.drawn) {
    std::memset(to, 0, row_bytes * view.out_h);
    return;
  }
  const std::uint64_t pitch_bytes = view.pitch * kWordBytes;
  const std::uint64_t bytes = pitch_bytes * view.out_h;
  const auto readback = make_buffer(view, platform::Heap::readback, bytes, "morva view readback");
  copy_now(view, *readback, *view.packed, bytes);
  void* memory = nullptr;
  check_view(readback->map(bytes, &memory), "Map readback");
  close_rows(static_cast<std::byte*>(to), static_cast<const std::byte*>(memory), view.out_h,
             row_bytes, pitch_bytes);
  readback->unmap();
}

}  // namespace morva::gpu
