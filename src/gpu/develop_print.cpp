#include "gpu/develop_print.h"

#include <utility>

#include "flow/develop_print.h"
#include "gpu/stages/bw_print.h"
#include "gpu/stages/color_print.h"
#include "gpu/stages/develop_bw.h"
#include "gpu/stages/develop_color.h"
#include "gpu/stages/exposure_mix.h"
#include "gpu/stages/instant_positive.h"
#include "gpu/stages/process_print.h"
#include "gpu/stages/round_trip.h"
#include "gpu/stages/scan.h"
#include "gpu/stages/slide.h"
#include "print/bw_print.h"
#include "print/color_print.h"
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
  GImage density = type == "bw"
                       ? develop_bw(frame, std::move(work)).density
                       : density_on_paper(frame, develop_color(frame, std::move(work)).density);
  check_cancel(frame.ctx);
  return print_on_process(frame, std::move(density), mask);
}

GImage print_silver(const Frame& frame, GImage work) {
  GNegative negative = develop_bw(frame, std::move(work));
  check_cancel(frame.ctx);
  return print_bw(frame, print_params_bw(frame.paper, frame.opts), std::move(negative));
}

GImage print_dyes(const Frame& frame, GImage work) {
  GColorNegative negative = develop_color(frame, std::move(work));
  check_cancel(frame.ctx);
  return print_color(frame, print_params_color(frame.stock, frame.paper, frame.opts),
                     std::move(negative));
}

GImage show_slide(const Frame& frame, GImage work) {
  GImage positive = develop_slide(frame, std::move(work));
  if (!is_scanned(frame.paper)) return positive;
  return scan_positive(frame.device, std::move(positive), frame.paper, frame.opts);
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
    default:
      return print_dyes(frame, std::move(work));
  }
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
  return on_cpu(device, std::move(print), [&](Image light) {
    return reproduce(std::move(light), way, frame.paper, frame.opts, frame.ctx);
  });
}

}  // namespace morva::gpu
