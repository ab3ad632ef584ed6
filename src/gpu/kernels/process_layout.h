// Where the kernels of prints made by hand find their numbers in the table, for the kernels and for the host
// alike.
#ifndef MORVA_GPU_PROCESS_LAYOUT_H
#define MORVA_GPU_PROCESS_LAYOUT_H

#include "film_layout.h"

#ifdef __cplusplus
namespace morva::gpu {
#endif

// alt_amount. First what the kernels of a print have.
namespace amount_layout {
static const int kRange = print_layout::kNumbers;  // density from the paper's white to its black
static const int kNumbers = amount_layout::kRange + 1;
}  // namespace amount_layout

// alt_pickup. Which of its steps are taken is told by bits of a constant.
namespace deposit_layout {
static const int kFloor = 0;
static const int kRange = 1;  // of the ink above the floor
static const int kPlugPower = 2;
static const int kTaken = 3;  // share of a thin layer that goes over
static const int kNumbers = 4;
static const int kHasFloor = 1;
static const int kPlugs = 2;
static const int kLoses = 4;
}  // namespace deposit_layout

// alt_coat and alt_band; lengths in pixels.
namespace coat_layout {
static const int kFinger = 0;   // reach of a full track beyond the edge
static const int kBand = 1;     // over which the coat thins out
static const int kDryness = 2;
static const int kStreaks = 3;  // change of the thickness by the tracks
static const int kEdges = 4;    // where it begins in each line of pixels, then the same from the far side
}  // namespace coat_layout

// alt_colorize; a number for each of three channels but for the last.
namespace pigment_layout {
static const int kPaper = 0;
static const int kPigment = 3;  // the ink's colour, or the stain's density
static const int kOpacity = 6;
static const int kNumbers = 7;
}  // namespace pigment_layout

#ifdef __cplusplus
}  // namespace morva::gpu
#endif

#endif
