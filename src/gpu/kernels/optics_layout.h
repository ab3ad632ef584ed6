// Where the kernels of lens and filters find their numbers in the table, for the kernels and for the host
// alike.
#ifndef MORVA_GPU_OPTICS_LAYOUT_H
#define MORVA_GPU_OPTICS_LAYOUT_H

#ifdef __cplusplus
namespace morva::gpu {
#endif

namespace distort_layout {
static const int kK1 = 0;
static const int kK2 = 1;
static const int kHalfDiagonal = 2;  // px
static const int kCentreY = 3;       // px
static const int kCentreX = 4;
static const int kCount = 5;
}  // namespace distort_layout

// Lengths in half long sides of the picture.
namespace graduation_layout {
static const int kHalfLong = 0;  // px
static const int kCentreY = 1;   // px
static const int kCentreX = 2;
static const int kCosine = 3;
static const int kSine = 4;
static const int kPosition = 5;
static const int kEdge = 6;      // width of the transition
static const int kFarShare = 7;  // of the density, at the far end; 1 keeps all of it
static const int kFading = 8;    // length over which it falls to that
static const int kStops = 9;     // of each channel
static const int kCount = 12;
}  // namespace graduation_layout

#ifdef __cplusplus
}  // namespace morva::gpu
#endif

#endif
