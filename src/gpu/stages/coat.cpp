#include "gpu/stages/coat.h"

#include <utility>
#include <vector>

#include "gpu/kernels/process_layout.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/pixel_ops.h"
#include "gpu/stages/plane.h"

namespace morva::gpu {

namespace {

std::vector<float> coat_table(const CoatShape& shape, const std::vector<float>& near_edge,
                              const std::vector<float>& far_edge) {
  std::vector<float> table(coat_layout::kEdges);
  table[coat_layout::kFinger] = static_cast<float>(shape.finger_px);
  table[coat_layout::kBand] = static_cast<float>(shape.band_px);
  table[coat_layout::kDryness] = shape.dryness;
  table[coat_layout::kStreaks] = shape.streaks;
  for (const std::vector<float>* edge : {&near_edge, &far_edge})
    for (const float begins_px : *edge) table.push_back(begins_px);
  return table;
}

}  // namespace

CoatPlanes coat_planes(Device& device, const DrawnCoat& coat, const FieldPair& tracks) {
  const std::int32_t h = tracks.first.height, w = tracks.first.width;
  CoatPlanes planes{device.image(h, w, 1), device.image(h, w, 1)};
  launch_elements(device, Kernel::alt_coat, pixels(planes.share), {word(h), word(w)},
                  coat_table(coat.shape, coat.left, coat.right),
                  {tracks.first.buffer.get(), tracks.second.buffer.get(), planes.share.buffer.get(),
                   planes.thickness.buffer.get()});
  launch_elements(device, Kernel::alt_band, pixels(planes.share), {word(h), word(w)},
                  coat_table(coat.shape, coat.top, coat.bottom),
                  {planes.share.buffer.get(), tracks.second.buffer.get()});
  return planes;
}

void brush_coat(Device& device, const GImage& ink, const CoatBlock& coat, Rng& rng) {
  if (coat.style == CoatStyle::none) return;
  DrawnCoat drawn = draw_coat(rng, coat, ink.width, ink.height);
  const FieldPair tracks = sums_of_layers(device, std::move(drawn.along), std::move(drawn.across),
                                          ink.width, ink.height);
  const CoatPlanes planes = coat_planes(device, drawn, tracks);
  multiply_by_field(device, ink, planes.share);
  multiply_by_field(device, ink, planes.thickness);
  clamp_light(device, ink, true);
}

}  // namespace morva::gpu
