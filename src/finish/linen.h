// A linen cloth in plain weave. Flax yarn is uneven: every thread has its own width and tone, which
// wander along it, and here and there a slub, where the spinner's fibres bunched.
//
// The weave is a sum of products of lines, one across and one down the cloth, each of which is
// drawn finely and averaged over the pixel's aperture before they meet. So threads that the raster
// cannot show fade to their mean instead of beating with it.
#pragma once

#include <cstdint>
#include <vector>

#include "finish/table_surface.h"
#include "image/random.h"

namespace morva {

// Threads that lie side by side along one axis, in averages over each pixel of it.
struct ThreadLine {
  std::vector<float> crown;       // roundness in light: -1 in the gaps, 1 on the crown
  std::vector<float> over;        // 1 and -1 by turns from thread to thread: which crossing is up
  std::vector<float> over_crown;  // their product
  // The yarn's tone, unit deviation from thread to thread: at nodes along the threads. None where
  // the threads are too fine to be drawn.
  std::vector<std::vector<float>> tones;
};

// Places along the threads between the nodes of their tones.
struct ThreadLength {
  double node_px;                // from node to node
  std::vector<float> from_node;  // shares of the node before and the node after
  std::vector<float> to_node;
};

struct Slub {
  bool along_x;
  double x_px, y_px;
  double length_px, width_px;  // sigmas
  float strength;
};

struct Linen {
  ThreadLine warp;  // threads running down, side by side across the cloth
  ThreadLine weft;  // threads running across
  ThreadLength down;
  ThreadLength across;
  std::vector<Slub> slubs;
  FineGrain grain;
};

Linen weave_linen(std::int32_t h, std::int32_t w, double px_per_mm, Rng& rng);

// Relative brightness of a part of the cloth, row by row.
void shade_linen(const Linen& linen, const SurfacePart& part, float* shade);

}  // namespace morva
