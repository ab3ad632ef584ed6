// Floats on their way to the GPU, back, and between two of its buffers. Uploads pass through a ring
// of chunks that stay mapped; a download waits for the GPU.

#include <cstring>

#include "gpu/device_state.h"
#include "gpu/gpu_error.h"

namespace morva::gpu {

namespace {

constexpr std::uint64_t kSliceAlignment = 256;
constexpr std::uint64_t kChunkBytes = 0x4000000;
constexpr std::uint64_t kMostSliceBytes = 0x2000000;  // a larger one would waste most of a chunk

// An upload buffer, mapped for the whole of its life.
UploadChunk mapped_upload(DeviceState& state, std::uint64_t bytes, const char* name,
                          const char* what) {
  UploadChunk chunk;
  chunk.resource = create_buffer(state, platform::Heap::upload, bytes, name);
  chunk.size = bytes;
  void* memory = nullptr;
  check(chunk.resource->map(0, &memory), what);
  chunk.mapped = static_cast<std::byte*>(memory);
  return chunk;
}

UploadSlice slice_of(UploadChunk& chunk, std::uint64_t bytes) {
  const std::uint64_t offset = chunk.used;
  chunk.used += bytes;
  return {chunk.mapped + offset, chunk.resource.get(), offset};
}

UploadSlice big_upload(DeviceState& state, std::uint64_t bytes) {
  UploadChunk whole = mapped_upload(state, bytes, "morva upload", "Map upload");
  const UploadSlice slice = slice_of(whole, bytes);
  state.big_uploads.push_back(std::move(whole.resource));
  return slice;
}

}  // namespace

UploadSlice ring(DeviceState& state, std::uint64_t bytes) {
  const std::uint64_t aligned = (bytes + kSliceAlignment - 1) / kSliceAlignment * kSliceAlignment;
  if (aligned > kMostSliceBytes) return big_upload(state, aligned);
  for (UploadChunk& chunk : state.upload_chunks) {
    if (chunk.size - chunk.used >= aligned) return slice_of(chunk, aligned);
  }
  state.upload_chunks.push_back(
      mapped_upload(state, kChunkBytes, "morva upload ring", "Map кольца"));
  return slice_of(state.upload_chunks.back(), aligned);
}

std::shared_ptr<Buffer> Device::upload(const float* data, std::uint64_t count) {
  DeviceState& state = *state_;
  std::shared_ptr<Buffer> buffer = alloc(count);
  if (count == 0) return buffer;
  open_list(state);
  const std::uint64_t bytes = count * sizeof(float);
  const UploadSlice slice = ring(state, bytes);
  std::memcpy(slice.cpu, data, bytes);
  wait_for_dispatches(state);
  transition(state, *buffer, platform::State::copy_dest);
  state.list->copy(*buffer->resource, 0, *slice.resource, slice.offset, bytes);
  state.kept_buffers.push_back(buffer);
  state.estimate_ms += copy_estimate_ms(bytes);
  ++state.stats.uploads;
  state.stats.uploaded_bytes += bytes;
  if (count >= kFrameFloats) ++state.stats.frame_uploads;
  return buffer;
}

GImage Device::upload(const Image& picture) {
  return {upload(picture.data.data(), picture.data.size()), picture.h, picture.w, picture.c};
}

std::vector<float> Device::download(Buffer& buffer, std::uint64_t count) {
  if (count == 0) return {};
  DeviceState& state = *state_;
  open_list(state);
  const std::uint64_t bytes = count * sizeof(float);
  const auto readback = create_buffer(state, platform::Heap::readback, bytes, "morva readback");
  wait_for_dispatches(state);
  transition(state, buffer, platform::State::copy_source);
  state.list->copy(*readback, 0, *buffer.resource, 0, bytes);
  submit();
  void* memory = nullptr;
  check(readback->map(bytes, &memory), "Map readback");
  const auto* first = static_cast<const float*>(memory);
  std::vector<float> floats(first, first + count);
  readback->unmap();
  ++state.stats.downloads;
  state.stats.downloaded_bytes += bytes;
  if (count >= kFrameFloats) ++state.stats.frame_downloads;
  return floats;
}

Image Device::download(const GImage& picture) {
  Image image;
  image.h = picture.height;
  image.w = picture.width;
  image.c = picture.channels;
  image.data =
      download(*picture.buffer, sample_count(picture.height, picture.width, picture.channels));
  return image;
}

void Device::copy(Buffer& from, std::uint64_t from_offset, Buffer& to, std::uint64_t to_offset,
                  std::uint64_t count) {
  if (count == 0) return;
  DeviceState& state = *state_;
  open_list(state);
  wait_for_dispatches(state);
  transition(state, from, platform::State::copy_source);
  transition(state, to, platform::State::copy_dest);
  const std::uint64_t bytes = count * sizeof(float);
  state.list->copy(*to.resource, to_offset * sizeof(float), *from.resource,
                   from_offset * sizeof(float), bytes);
  state.estimate_ms += copy_estimate_ms(bytes);
}

}  // namespace morva::gpu
