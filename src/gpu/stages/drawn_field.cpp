#include "gpu/stages/drawn_field.h"

#include <utility>
#include <vector>

#include "gpu/stages/element_launch.h"
#include "gpu/stages/filters.h"
#include "gpu/stages/plane.h"
#include "gpu/stages/sums.h"

namespace morva::gpu {

namespace {

// A layer of the picture's raster, and what brings it to its share of the sum.
struct Layer {
  GImage field;
  float share = 1.0f;
};

Layer enlarged(Device& device, FieldLayer drawn, std::int32_t w, std::int32_t h) {
  Layer layer{device.upload(drawn.samples), static_cast<float>(drawn.share)};
  drawn.samples = Image();
  if (drawn.finished) return layer;
  layer.field = resize(device, layer.field, w, h, kResizeBicubic);
  layer.share *= unit_scale(mean_deviation(device, plane_of(layer.field)).deviation);
  return layer;
}

FieldScale to_unit_deviation(Device& device, const GImage& sum, bool about_its_mean) {
  const MeanDeviation found = mean_deviation(device, plane_of(sum));
  return {about_its_mean ? static_cast<float>(found.mean) : 0.0f, unit_scale(found.deviation)};
}

}  // namespace

void add_layer(Device& device, const GImage& sum, float own_share, const GImage& layer,
               float share) {
  launch_elements(device, Kernel::alt_add_rows, pixels(sum), {word(pixels(sum))},
                  {own_share, share}, {sum.buffer.get(), layer.buffer.get()});
}

void add_to_both(Device& device, const FieldPair& sums, const GImage& layer, float first_share,
                 float second_share, bool overwrite) {
  launch_elements(device, Kernel::alt_layer_acc, pixels(layer),
                  {word(pixels(layer)), overwrite ? 1u : 0u}, {first_share, second_share},
                  {layer.buffer.get(), sums.first.buffer.get(), sums.second.buffer.get()});
}

void scale_field(Device& device, const GImage& field, const FieldScale& scale) {
  launch_elements(device, Kernel::alt_layers_fin, pixels(field), {word(pixels(field)), 0},
                  {scale.mean, scale.scale}, {field.buffer.get()});
}

void scale_both(Device& device, const FieldPair& fields, const FieldScale& first,
                const FieldScale& second) {
  launch_elements(device, Kernel::alt_layers_fin, pixels(fields.first),
                  {word(pixels(fields.first)), 1},
                  {first.mean, first.scale, second.mean, second.scale},
                  {fields.first.buffer.get(), fields.second.buffer.get()});
}

GImage sum_of_layers(Device& device, DrawnField drawn, std::int32_t w, std::int32_t h) {
  if (drawn.layers.empty()) return device.upload(Image(h, w, 1));
  GImage sum;
  float own_share = 1.0f;
  for (FieldLayer& samples : drawn.layers) {
    const Layer layer = enlarged(device, std::move(samples), w, h);
    if (sum.buffer == nullptr) {
      sum = layer.field;
      own_share = layer.share;
      continue;
    }
    add_layer(device, sum, own_share, layer.field, layer.share);
    own_share = 1.0f;
  }
  if (own_share != 1.0f) scale_field(device, sum, {0.0f, own_share});
  scale_field(device, sum, to_unit_deviation(device, sum, drawn.about_its_mean));
  return sum;
}

FieldPair sums_of_layers(Device& device, DrawnField first, DrawnField second, std::int32_t w,
                         std::int32_t h) {
  if (first.layers.empty())
    return {sum_of_layers(device, std::move(first), w, h),
            sum_of_layers(device, std::move(second), w, h)};
  FieldPair sums{device.image(h, w, 1), device.image(h, w, 1)};
  bool begun = false;
  for (FieldLayer& samples : first.layers) {
    const Layer layer = enlarged(device, std::move(samples), w, h);
    if (begun)
      add_layer(device, sums.first, 1.0f, layer.field, layer.share);
    else
      add_to_both(device, sums, layer.field, layer.share, 0.0f, true);
    begun = true;
  }
  for (FieldLayer& samples : second.layers) {
    const Layer layer = enlarged(device, std::move(samples), w, h);
    add_layer(device, sums.second, 1.0f, layer.field, layer.share);
  }
  scale_both(device, sums, to_unit_deviation(device, sums.first, first.about_its_mean),
             to_unit_deviation(device, sums.second, second.about_its_mean));
  return sums;
}

}  // namespace morva::gpu
