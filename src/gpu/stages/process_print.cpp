#include "gpu/stages/process_print.h"

#include <optional>
#include <utility>
#include <vector>

#include "gpu/kernels/process_layout.h"
#include "gpu/stages/coat.h"
#include "gpu/stages/drawn_field.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/ink_deposit.h"
#include "gpu/stages/pigment.h"
#include "gpu/stages/pixel_ops.h"
#include "gpu/stages/plane.h"
#include "gpu/stages/print_relief.h"
#include "gpu/stages/print_table.h"
#include "gpu/stages/process_texture.h"
#include "profiles/seeds.h"

namespace morva::gpu {

namespace {

void fade_with(Device& device, const std::optional<GImage>& gate, const GImage& plane) {
  if (gate) multiply_by_field(device, plane, *gate);
}

void lay_unevenness(Device& device, const GImage& ink, DrawnField drawn, const InkField& how,
                    const std::optional<GImage>& gate) {
  const GImage field = sum_of_layers(device, std::move(drawn), ink.width, ink.height);
  fade_with(device, gate, field);
  show_in_ink(device, ink, field, how);
}

}  // namespace

GImage ink_of_negative(Device& device, const GImage& density, const PrintParams& params) {
  std::vector<float> table = print_table(params, printer_veil(device, params, density));
  table.resize(amount_layout::kNumbers);
  table[amount_layout::kRange] = ink_scale(params.curve).range;
  GImage ink = device.image(density.height, density.width, 1);
  launch_elements(device, Kernel::alt_amount, pixels(density), {word(pixels(density))}, table,
                  {density.buffer.get(), ink.buffer.get()});
  return ink;
}

GImage print_on_process(const Frame& frame, GImage density, const Image* mask) {
  const StageTimer timer(frame, "альт-печать");
  Device& device = frame.device;
  const ProcessBlock process = read_process_block(frame.paper, frame.opts);
  require_mask_size(mask, density.height, density.width);
  const GImage ink = ink_of_negative(device, density, print_params_bw(frame.paper, frame.opts));
  density.buffer.reset();
  check_cancel(frame.ctx);

  Rng rng = seeded_rng(frame.opts, kPrintStream);
  std::optional<GImage> gate = mask != nullptr ? std::optional(device.upload(*mask)) : std::nullopt;
  fade_with(device, gate, ink);
  floor_and_plug(device, ink, process.ink_floor, process.plug);
  if (shows(process.texture))
    lay_unevenness(device, ink,
                   draw_texture(rng, ink.width, ink.height, process.texture, process.px_per_mm),
                   process.texture.ink, gate);
  check_cancel(frame.ctx);
  if (shows(process.roller))
    lay_unevenness(device, ink,
                   draw_roller(rng, ink.width, ink.height, process.roller, process.px_per_mm),
                   process.roller.ink, gate);
  gate.reset();
  check_cancel(frame.ctx);
  transfer_ink(device, ink, process.transfer, process.px_per_mm);
  brush_coat(device, ink, process.coat, rng);
  check_cancel(frame.ctx);

  GImage print = colour_of_ink(device, ink, process.pigment, process.paper);
  light_relief(device, print, ink, process.relief, process.px_per_mm);
  return print;
}

}  // namespace morva::gpu
