// Where the kernel of the view finds its numbers, for the kernel and for the host alike.
#ifndef MORVA_GPU_VIEW_LAYOUT_H
#define MORVA_GPU_VIEW_LAYOUT_H

#ifdef __cplusplus
namespace morva::gpu {
#endif

// In the table.
namespace view_place {
static const int kScale = 0;  // output pixels for one of the picture
static const int kX = 1;      // of the picture's upper left corner before it is turned, output pixels
static const int kY = 2;
static const int kAngle = 3;  // radians, about the picture's centre
// Of that angle: GPUs know theirs to a two-thousandth alone.
static const int kCosine = 4;
static const int kSine = 5;
}  // namespace view_place

// Among the constants. Sizes are pixels.
namespace view_sizes {
static const int kOutWidth = 0;
static const int kOutHeight = 1;
static const int kPictureWidth = 2;  // 0: there is no picture
static const int kPictureHeight = 3;
static const int kPitch = 4;       // words from one row of the output to the next
static const int kBackground = 5;  // 0xRRGGBB
static const int kRowThreads = 15;
}  // namespace view_sizes

#ifdef __cplusplus
}  // namespace morva::gpu
#endif

#endif
