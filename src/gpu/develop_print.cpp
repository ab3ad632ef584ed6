#include "gpu/develop_print.h"

#include <stdexcept>
#include <utility>

#include "flow/develop_print.h"
#include "gpu/stages/bw_print.h"
#include "gpu/stages/color_print.h"
#include "gpu/stages/develop_bw.h"
#include "gpu/stages/develop_color.h"
#include "gpu/stages/exposure_mix.h"
#include "gpu/stages/instant_positive.h"
#include "gpu/stages/pixel_ops.h"
#include "gpu/stages/process_print.h"
#include "gpu/stages/round_trip.h"
#include "gpu/stages/scan.h"
#include "gpu/stages/slide.h"
#include "print/bw_print.h"
#include "print/color_print.h"
#include "print/process_block.h"
#include "profiles/film.h"

namespace morva::gpu {

namespace {

// Ways that have no kernels: three-colour plates, wet plates, dry plates, a tube instead of paper.
bool stays_on_cpu(const Frame& frame, const std::string& type) {
  return type == "tricolor" || type == "collodion" || truthy(get(frame.stock, "dryplate")) ||
         get_text_or(frame.paper, "repro", "") == "crt";
}

GImage print_by_process(const Frame& frame, GImage work, const std::string& type,
                        const Image* mask) {
  read_process_block(frame.paper, frame.opts);  // a paper that cannot be read is told at once
  GImage density = type == "bw" ? develop_bw(frame, std::move(work))
                                : density_on_paper(frame, develop_color(frame, std::move(work)));
  check_cancel(frame.ctx);
  return print_on_process(frame, std::move(density), mask);
}

GImage print_silver(const Frame& frame, GImage work) {
  const GImage negative = develop_bw(frame, std::move(work));
  check_cancel(frame.ctx);
  return print_bw(frame, print_params_bw(frame.paper, frame.opts), negative);
}

GImage print_dyes(const Frame& frame, GImage work) {
  const GImage negative = develop_color(frame, std::move(work));
  check_cancel(frame.ctx);
  return print_color(frame, print_params_color(frame.stock, frame.paper, frame.opts), negative);
}

GImage show_slide(const Frame& frame, GImage work) {
  GImage positive = develop_slide(frame, std::move(work));
  if (!is_scanned(frame.paper)) return positive;
  return scan_positive(frame.device, std::move(positive), frame.paper, frame.opts);
}

GImage first_channel(Device& device, const GImage& picture) {
  GImage plane = device.image(picture.height, picture.width, 1);
  copy_plane(device, plane_of(picture), plane_of(plane));
  return plane;
}

GImage develop_by(PrintWay way, const Frame& frame, GImage work, const std::string& type,
                  const Image* process_mask) {
  switch (way) {
    case PrintWay::reversal_paper:
      return print_reversal(frame, std::move(work));
    case PrintWay::slide:
      return show_slide(frame, std::move(work));
    case PrintWay::instant:
      return is_mono_instant(frame.stock) ? develop_instant_mono(frame, std::move(work))
                                          : develop_instant(frame, std::move(work));
    case PrintWay::process:
      return print_by_process(frame, std::move(work), type, process_mask);
    case PrintWay::bw_print:
      return print_silver(frame, std::move(work));
    case PrintWay::color_on_bw:
      return print_color_on_bw(frame, std::move(work));
    case PrintWay::color_print:
      return print_dyes(frame, std::move(work));
    case PrintWay::tricolor:
    case PrintWay::plate:
    case PrintWay::collodion_print:
      break;
  }
  throw std::logic_error("develop_print: a plate is developed on the CPU");
}

}  // namespace

GImage develop_print(const Frame& frame, GImage work, const Image* process_mask) {
  Device& device = frame.device;
  const std::string type = get_text_or(frame.stock, "type", "");
  if (stays_on_cpu(frame, type))
    return on_cpu(device, std::move(work), [&](Image light) {
      return morva::develop_print(std::move(light), frame.stock, frame.paper, frame.opts,
                                  frame.um_per_px, frame.uneven, frame.ctx, process_mask);
    });
  if (type != "bw") apply_exposure_mix(frame, work);
  const PrintWay way = print_way(type, frame.paper);
  GImage print = develop_by(way, frame, std::move(work), type, process_mask);
  if (!has_reproduction(way, frame.paper)) return print;
  // A press gets one channel of a black-and-white print: the others need not leave the GPU.
  if (way == PrintWay::bw_print && is_reproduced(type, frame.paper))
    print = first_channel(device, print);
  return on_cpu(device, std::move(print), [&](Image light) {
    return reproduce(std::move(light), way, frame.paper, frame.opts, frame.ctx);
  });
}

}  // namespace morva::gpu
