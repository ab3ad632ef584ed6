// The emulsion as an optical body on the GPU: film/emulsion.h and film/halation.h. Light or density
// in and out; a picture handed over may be changed in place and is what comes back where a step has
// nothing to do.
#pragma once

#include "film/emulsion.h"
#include "film/halation.h"
#include "gpu/stages/frame.h"

namespace morva::gpu {

inline constexpr const char* kEmulsionTime = "эмульсия (мутность, галация)";  // a stage's label

// Any channel count.
GImage emulsion_blur(const Frame& frame, GImage light);

// Adds the halo of `source` (one channel, may be `light` itself) to `light` in place, of one
// channel or three. A glass base's ring is computed on the CPU.
void halate(const Frame& frame, const GImage& light, const GImage& source);

// Both, timed, with luminance as the source of the halo, on three channels.
GImage light_in_layers(const Frame& frame, GImage scene);

// The edge effects of development on density, in place, any channel count.
void adjacency(const Frame& frame, const GImage& density);

// One kernel each, in place: a halo of one channel, and one edge effect against the blurred
// density.
void add_halo(Device& device, const GImage& light, const GImage& halo, float strength,
              const std::array<float, 3>& tint);
void add_edge_effect(Device& device, const GImage& density, const GImage& blurred,
                     const AdjacencyTerm& term);

}  // namespace morva::gpu
