#include "gpu/stages/pixel_ops.h"

#include "gpu/stages/element_launch.h"

namespace morva::gpu {

namespace {

void plane_to_plane(Device& device, Kernel kernel, const Plane& from, const Plane& to,
                    const std::vector<float>& table) {
  launch_elements(
      device, kernel, pixels(from),
      {word(pixels(from)), word(from.stride), word(from.offset), word(to.stride), word(to.offset)},
      table, {from.buffer.get(), to.buffer.get()});
}

// A table with a number for each channel.
void by_channel(Device& device, Kernel kernel, const GImage& picture,
                const std::vector<float>& table) {
  launch_elements(device, kernel, floats(picture), {word(floats(picture)), word(picture.channels)},
                  table, {picture.buffer.get()});
}

}  // namespace

GImage copy_of(Device& device, const GImage& picture) {
  GImage copy = device.image(picture.height, picture.width, picture.channels);
  device.copy(*picture.buffer, 0, *copy.buffer, 0, floats(picture));
  return copy;
}

void copy_plane(Device& device, const Plane& from, const Plane& to) {
  plane_to_plane(device, Kernel::copy_view, from, to, {});
}

void multiply_channels(Device& device, const GImage& picture, const std::array<float, 3>& gains) {
  by_channel(device, Kernel::mul_ch, picture, {gains.begin(), gains.end()});
}

void add_channels(Device& device, const GImage& picture, const std::array<float, 3>& offsets) {
  by_channel(device, Kernel::add_ch, picture, {offsets.begin(), offsets.end()});
}

void add_to_all(Device& device, const GImage& picture, float offset) {
  launch_elements(device, Kernel::add_ch, floats(picture), {word(floats(picture)), 1}, {offset},
                  {picture.buffer.get()});
}

void apply_matrix(Device& device, const GImage& picture, const std::array<float, 9>& matrix) {
  launch_elements(device, Kernel::mat3, pixels(picture), {word(pixels(picture))},
                  {matrix.begin(), matrix.end()}, {picture.buffer.get()});
}

void mix_infrared(Device& device, const GImage& picture, const std::array<float, 4>& weights) {
  launch_elements(device, Kernel::false_ir, pixels(picture), {word(pixels(picture))},
                  {weights.begin(), weights.end()}, {picture.buffer.get()});
}

void clamp_light(Device& device, const GImage& picture, bool to_one) {
  launch_elements(device, Kernel::clampv, floats(picture),
                  {word(floats(picture)), to_one ? 1u : 0u}, {}, {picture.buffer.get()});
}

void over_threshold(Device& device, const Plane& from, const Plane& to, float level) {
  plane_to_plane(device, Kernel::thresh, from, to, {level});
}

GImage mix(Device& device, const GImage& a, float weight_a, const GImage& b, float weight_b) {
  GImage mixed = device.image(a.height, a.width, a.channels);
  launch_elements(device, Kernel::mix2, floats(a), {word(floats(a))}, {weight_a, weight_b},
                  {a.buffer.get(), b.buffer.get(), mixed.buffer.get()});
  return mixed;
}

GImage weighted_plane(Device& device, const GImage& picture, const std::array<float, 3>& weights) {
  GImage plane = device.image(picture.height, picture.width, 1);
  launch_elements(device, Kernel::dot3_plane, pixels(picture), {word(pixels(picture))},
                  {weights.begin(), weights.end()}, {picture.buffer.get(), plane.buffer.get()});
  return plane;
}

void multiply_by_field(Device& device, const GImage& picture, const GImage& field) {
  launch_elements(device, Kernel::mul_field, pixels(picture),
                  {word(pixels(picture)), word(picture.channels)}, {},
                  {picture.buffer.get(), field.buffer.get()});
}

void divide(Device& device, const GImage& picture, float divisor) {
  launch_elements(device, Kernel::scale_div, floats(picture), {word(floats(picture))}, {divisor},
                  {picture.buffer.get()});
}

GImage encode_srgb(Device& device, const GImage& light) {
  GImage encoded = device.image(light.height, light.width, light.channels);
  launch_elements(device, Kernel::srgb_main, floats(light), {word(floats(light))}, {},
                  {light.buffer.get(), nullptr, encoded.buffer.get()});
  return encoded;
}

}  // namespace morva::gpu
