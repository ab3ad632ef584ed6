// Development and print: which processes a stock and a paper call for, in one entry.
#pragma once

#include <string>

#include "image/image.h"
#include "image/render_context.h"
#include "profiles/json_access.h"

namespace morva {

// `work` is the scene on the film (linear light, three channels), `stock` the resolved film with
// its seeds, `um_per_px` a pixel's size on the film. `uneven` (field of uneven development) and
// `process_mask` (the rebate of an alternative process) may be null. Returns the positive, linear,
// three channels.
Image develop_print(Image work, Json stock, const Json& paper, const Json& opts, double um_per_px,
                    const Image* uneven, RenderContext& ctx, const Image* process_mask);

// The ways from an exposed stock to a positive.
enum class PrintWay {
  reversal_paper,  // from a slide
  slide,
  tricolor,
  instant,
  plate,    // collodion, seen as it is
  process,  // an alternative process
  collodion_print,
  bw_print,
  color_on_bw,
  color_print
};
PrintWay print_way(const std::string& film_type, const Json& paper);

// What follows a print: its run on the paper's `repro`, then the surface of a sheet that has one;
// the print itself without either. A black-and-white print goes to the press as one channel.
Image reproduce(Image print, PrintWay way, const Json& paper, const Json& opts, RenderContext& ctx);
bool has_reproduction(PrintWay way, const Json& paper);

// Whether the paper shows a positive film as a scan of it.
bool is_scanned(const Json& paper);

// Whether an alternative process makes the print, and so lays the rebate's mask itself.
bool prints_by_process(const std::string& film_type, const Json& paper);

// Whether the print takes its tones from the paper's H&D curve, and whether it then goes on to the
// paper's `repro`.
bool prints_on_paper_curve(const std::string& film_type, const Json& paper);
bool is_reproduced(const std::string& film_type, const Json& paper);

}  // namespace morva
