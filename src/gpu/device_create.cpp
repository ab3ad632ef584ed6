// How a device comes up, step by step; whatever fails throws, and what was made until then is
// released by its owners.

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "gpu/device_state.h"
#include "gpu/gpu_error.h"
#include "profiles/system.h"

namespace morva::gpu {

namespace {

constexpr std::uint32_t kKeptMessages = 4096;

void switch_debugging(DeviceState& state) {
  const std::optional<std::string> debug = environment_text("MORVA_DX12_DEBUG");
  if (debug && !debug->empty() && *debug != "0") {
    state.info.debug_layer = true;
    if (!state.source->enable_debug_layer().ok()) {
      throw std::runtime_error(
          "DX12: отладочный слой недоступен (нет d3d12SDKLayers.dll — компонент «Graphics Tools»)");
    }
    state.source->enable_kernel_checks();
  }
  if (environment_text("MORVA_GPU_DRED") != "0") {
    static_cast<void>(state.source->enable_loss_records());  // a report without them is shorter
  }
}

std::unique_ptr<platform::Adapter> hardware_adapter(platform::Factory& factory) {
  for (std::uint32_t index = 0;; ++index) {
    std::unique_ptr<platform::Adapter> adapter;
    if (!factory.adapter(index, &adapter).ok()) break;
    if (adapter->description().software) continue;
    if (adapter->try_device().ok()) return adapter;
  }
  throw std::runtime_error("DX12: нет аппаратного адаптера с D3D12");
}

void choose_adapter(DeviceState& state, bool software) {
  check(state.source->create_factory(&state.factory), "фабрика DXGI");
  if (software) {
    check(state.factory->software_adapter(&state.adapter), "WARP");
  } else {
    state.adapter = hardware_adapter(*state.factory);
  }
  const platform::AdapterDescription description = state.adapter->description();
  state.info.adapter_name = description.name;
  state.info.software = description.software;
  state.info.vram_mb = description.dedicated_bytes >> 20;
}

void make_device(DeviceState& state) {
  std::unique_ptr<platform::Device> device;
  check(state.adapter->create_device(&device), "устройство");
  state.device = std::move(device);
  platform::Architecture architecture;
  if (state.device->architecture(&architecture).ok()) {
    state.info.uma = architecture.uma;
    state.info.cache_coherent = architecture.cache_coherent;
  }
  if (state.info.debug_layer) {
    static_cast<void>(state.device->keep_messages(kKeptMessages));
  }
}

void make_queue_and_list(DeviceState& state) {
  platform::Device& device = *state.device;
  check(device.create_queue(&state.queue), "очередь");
  state.queue->set_name("morva tract queue");
  check(device.create_allocator(&state.allocator), "аллокатор");
  check(device.create_list(*state.allocator, &state.list), "список команд");
  state.list->set_name("morva tract");
  check(state.list->close(), "Close");
  check(device.create_fence(0, &state.fence), "забор");
  if (!state.fence->open_event().ok()) throw std::runtime_error("DX12: событие забора");
  std::uint64_t ticks_per_s = 0;
  if (state.queue->timestamp_frequency(&ticks_per_s).ok()) state.ticks_per_s = ticks_per_s;
}

void make_queries(DeviceState& state) {
  check(state.device->create_query_heap(kMostQueries, &state.queries), "куча меток времени");
  state.query_readback = create_buffer(state, platform::Heap::readback,
                                       kMostQueries * sizeof(std::uint64_t), "morva timestamps");
}

void make_layout(DeviceState& state) {
  std::string message;
  if (!state.device->check_layout(&message).ok()) {
    throw std::runtime_error("DX12: корневая сигнатура: " + message);
  }
  std::unique_ptr<platform::Layout> layout;
  check(state.device->create_layout(&layout), "корневая сигнатура");
  state.layout = std::move(layout);
}

void make_dummy(DeviceState& state) {
  state.dummy.resource = create_buffer(state, platform::Heap::device_local,
                                       kDummyFloats * sizeof(float), "morva dummy");
  state.dummy.count = kDummyFloats;
}

}  // namespace

void create_device(DeviceState& state, bool software) {
  switch_debugging(state);
  choose_adapter(state, software);
  make_device(state);
  make_queue_and_list(state);
  make_queries(state);
  make_layout(state);
  bool doubles = false;
  if (state.device->double_support(&doubles).ok()) state.info.doubles = doubles;
  make_dummy(state);
}

platform::Result build_pipeline(DeviceState& state, Kernel kernel) {
  if (state.pipelines[row_of(kernel)]) return platform::kOk;
  std::unique_ptr<platform::Pipeline> pipeline;
  const platform::Result result =
      state.device->create_pipeline(*state.layout, kernel_code(kernel), &pipeline);
  if (!result.ok()) return result;
  pipeline->set_name(kernel_name(kernel));
  state.pipelines[row_of(kernel)] = std::move(pipeline);
  return result;
}

}  // namespace morva::gpu
