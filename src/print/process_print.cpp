#include "print/process_print.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "film/develop_bw.h"
#include "film/develop_color.h"
#include "print/bw_print.h"
#include "print/coat.h"
#include "print/ink_deposit.h"
#include "print/pigment.h"
#include "print/print_relief.h"
#include "print/process_block.h"
#include "print/process_texture.h"
#include "profiles/seeds.h"

namespace morva {

namespace {

Image negative_density(Image scene, const Json& film, const Json& paper, const Json& options,
                       double um_per_px, const Image* uneven, RenderContext& ctx) {
  const std::string type = get_text_or(film, "type", "");
  if (type == "bw" || type == "collodion")
    return develop_bw(scene, film, options, um_per_px, uneven, ctx).density;
  return density_on_paper(
      develop_color(std::move(scene), film, options, um_per_px, uneven, ctx).density, paper);
}

// Outside the gate there is no picture, at its edge a part of one.
void fade_with(const Image* gate, Image& plane) {
  if (gate == nullptr) return;
  for (std::size_t i = 0; i < plane.data.size(); ++i) plane.data[i] *= gate->data[i];
}

void lay_unevenness(Image& ink, Image field, const InkField& how, const Image* gate) {
  fade_with(gate, field);
  show_in_ink(ink, field, how);
}

}  // namespace

void require_mask_size(const Image* mask, int h, int w) {
  if (mask != nullptr && (mask->h != h || mask->w != w))
    throw std::logic_error("print_process: маска не по размеру");
}

InkScale ink_scale(const HdCurve& curve) {
  return {static_cast<float>(curve.dmin), static_cast<float>(curve.dmax - curve.dmin)};
}

Image ink_of_negative(Image density, const Json& paper, const Json& options) {
  const PrintParams params = print_params_bw(paper, options);
  float* samples = density.data.data();
  const std::size_t n = density.data.size();
  paper_density(params.curve, samples, samples, n, params.print_ev, params.flare);
  const InkScale scale = ink_scale(params.curve);
  for (std::size_t i = 0; i < n; ++i) {
    const float share = (samples[i] - scale.white) / scale.range;
    samples[i] = share > 0.0f ? std::min(share, 1.0f) : 0.0f;  // what is no number is bare paper
  }
  return density;
}

Image print_density_by_process(Image density, const Json& paper, const Json& options,
                               const Image* mask, RenderContext& ctx) {
  const ProcessBlock process = read_process_block(paper, options);
  require_mask_size(mask, density.h, density.w);
  Image ink = ink_of_negative(std::move(density), paper, options);
  check_cancel(ctx);

  Rng rng = seeded_rng(options, kPrintStream);
  fade_with(mask, ink);
  floor_and_plug(ink, process.ink_floor, process.plug);
  if (shows(process.texture))
    lay_unevenness(ink, texture_field(rng, ink.w, ink.h, process.texture, process.px_per_mm),
                   process.texture.ink, mask);
  check_cancel(ctx);
  if (shows(process.roller))
    lay_unevenness(ink, roller_field(rng, ink.w, ink.h, process.roller, process.px_per_mm),
                   process.roller.ink, mask);
  check_cancel(ctx);
  transfer_ink(ink, process.transfer, process.px_per_mm);
  brush_coat(ink, process.coat, rng);
  check_cancel(ctx);

  Image print = colour_of_ink(ink, process.pigment, process.paper);
  light_relief(print, ink, process.relief, process.px_per_mm);
  return print;
}

Image print_process(Image scene, const Json& film, const Json& paper, const Json& options,
                    double um_per_px, const Image* uneven, const Image* mask, RenderContext& ctx) {
  read_process_block(paper, options);  // a paper that cannot be read is told before any work
  return print_density_by_process(
      negative_density(std::move(scene), film, paper, options, um_per_px, uneven, ctx), paper,
      options, mask, ctx);
}

}  // namespace morva
