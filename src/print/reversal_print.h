// A slide on direct-positive paper: the paper is itself a reversal material, so that what the slide
// lets through stays light.
#pragma once

#include "image/image.h"
#include "image/render_context.h"
#include "profiles/hd_curve.h"
#include "profiles/json_access.h"

namespace morva {

struct ReversalPrintParams {
  HdCurve curve;
  double print_ev = 0.0;    // stops by which the print grows darker
  double dye_purity = 0.0;  // widens the differences of the paper's dyes
};

ReversalPrintParams reversal_print_params(const Json& paper, const Json& options);

// log10 exposure of the paper under clear film, relative to a mid grey.
double exposure_under_clear_film(const ReversalPrintParams& params);

// The paper's density, before its soft ends, under a slide of the transmission 10^`light`, which is
// read over six decades.
double density_under_slide(const ReversalPrintParams& params, double light);

// From a slide's transmission, 0..1, to the paper's reflectance relative to its white, linear, in
// place. A mid grey of 0.18 stays one. Not yet bounded.
void print_transmission(Image& slide, const ReversalPrintParams& params);

// Exposes the slide and prints it: reflectance, linear, 0..1, three channels. Arguments as of
// develop_slide.
Image print_reversal(Image scene, const Json& film, const Json& paper, const Json& options,
                     double px_um, const Image* uneven, RenderContext& ctx);

}  // namespace morva
