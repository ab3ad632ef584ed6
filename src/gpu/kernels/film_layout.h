// Where the kernels of film, print and scan find their numbers in the table, for the kernels and for the host
// alike.
#ifndef MORVA_GPU_FILM_LAYOUT_H
#define MORVA_GPU_FILM_LAYOUT_H

#ifdef __cplusplus
namespace morva::gpu {
#endif

namespace curve_layout {
static const int kBase = 0;  // density of base and fog
static const int kRange = 1;
static const int kCentre = 2;  // log10 exposure
static const int kSteepness = 3;
static const int kExponent = 4;
static const int kNumbers = 5;
}  // namespace curve_layout

// A soft black, then a soft white.
namespace soft_end_layout {
static const int kMid = 0;
static const int kRange = 1;
static const int kDirection = 2;
static const int kBend = 3;
static const int kNumbers = 4;
}  // namespace soft_end_layout

namespace look_layout {
static const int kFades = 0;  // whether dyes have faded
static const int kFade = 1;
static const int kTints = 4;  // whether there are any
static const int kShadow = 5;
static const int kHighlight = 8;
static const int kSaturates = 11;  // whether it does
static const int kSaturation = 12;
static const int kGreenMute = 13;
static const int kNumbers = 14;
}  // namespace look_layout

// neg_color_main. Unless told otherwise a number for each of three layers.
namespace neg_color_layout {
static const int kCurves = 0;
static const int kEv = 15;      // shift in log10 exposure, one for all
static const int kSign = 16;    // -1 on reversal film, one for all
static const int kLayerEv = 17;
static const int kFog = 20;
static const int kUneven = 23;  // gain of the field
static const int kMid = 26;
static const int kMatrix = 29;  // in row order
static const int kWiden = 38;   // factor, one for all
static const int kSilver = 39;  // retained, one for all
static const int kNumbers = 40;
// What the layers do to each other.
static const int kNothing = 0;
static const int kMixes = 1;
static const int kWidens = 2;
}  // namespace neg_color_layout

namespace neg_bw_layout {
static const int kCurve = 0;
static const int kEv = 5;
static const int kSign = 6;
static const int kFog = 7;
static const int kNumbers = 8;
}  // namespace neg_bw_layout

namespace instant_layout {
static const int kCurves = 0;
static const int kEv = 15;
static const int kFog = 16;
static const int kMid = 19;
static const int kCrosstalk = 22;  // in row order
static const int kWiden = 31;
static const int kNumbers = 32;
}  // namespace instant_layout

// print_color_main and print_bw_main.
namespace print_layout {
static const int kCurve = 0;
static const int kBlackEnd = 5;
static const int kWhiteEnd = 9;
static const int kExposure = 13;  // log10
static const int kVeil = 14;      // light added to each channel, 0 for none
static const int kTone = 17;
static const int kLook = 20;
static const int kNumbers = 34;
}  // namespace print_layout

namespace slide_print_layout {
static const int kCurve = 0;
static const int kBlackEnd = 5;
static const int kWhiteEnd = 9;
static const int kExposure = 13;  // log10, under clear film
static const int kWiden = 14;     // factor of the dyes' differences
static const int kTone = 15;
static const int kNumbers = 18;
}  // namespace slide_print_layout

// positive_look and mono_positive.
namespace positive_layout {
static const int kClear = 0;  // density that counts as clear
static const int kTone = 1;   // mono_positive only
static const int kLook = 4;
static const int kNumbers = 18;
}  // namespace positive_layout

namespace scan_layout {
static const int kFlare = 0;
static const int kFlaredWhite = 1;
static const int kBlack = 2;
static const int kAboveBlack = 3;
static const int kGain = 4;
static const int kContrast = 5;
static const int kDmax = 6;
static const int kBlackEnd = 7;
static const int kWhiteEnd = 11;
static const int kNumbers = 15;
}  // namespace scan_layout

#ifdef __cplusplus
}  // namespace morva::gpu
#endif

#endif
