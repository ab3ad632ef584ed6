// Where the kernels of grown grain find their numbers, for the kernels and for the host alike.
#ifndef MORVA_GPU_GRAIN_LAYOUT_H
#define MORVA_GPU_GRAIN_LAYOUT_H

#ifdef __cplusplus
#include <cstdint>
namespace morva::gpu::grain_layout {
using uint = std::uint32_t;
#endif

// Constants of growth_bw_T and growth_color_Df. The raster is drawn from `kLead` rows above the picture on.
static const uint kRows = 0;           // of the result
static const uint kRasterWidth = 1;    // sub-samples
static const uint kFirstDrawn = 2;     // the drawn row that is the result's first
static const uint kPerSide = 3;        // sub-samples in a pixel's side
static const uint kPictureHeight = 4;  // pixels
static const uint kPictureWidth = 5;
static const uint kLead = 6;
static const uint kFieldRow = 7;  // of the field U0, that belongs to the result's first row

// Their table: the rate exp(field * spread - shift), the grains over a sub-sample for a mean of 1, and what a
// grain does: the area that it blocks, or the density of its dye.
static const uint kSpread = 0;
static const uint kShift = 1;
static const uint kEvents = 2;
static const uint kEffect = 3;

// Table of growth_agg_bw: nodes of the rate and their weights; a grain blocks the share kBlocked = 1 - exp(-a) of
// its sub-sample's light, kTwice is that share squared.
static const uint kNodes = 8;
static const uint kRate = 0;
static const uint kWeight = 8;
static const uint kBlocked = 16;
static const uint kTwice = 17;
static const uint kCells = 18;   // sub-samples in a pixel
static const uint kShape = 19;   // how far the rate is common to a pixel
static const uint kFactor = 20;  // grains over a sub-sample for an optical depth of 1
static const uint kMomentNumbers = 21;

#ifdef __cplusplus
}  // namespace morva::gpu::grain_layout
#endif

#endif
