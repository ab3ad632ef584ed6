// film/growth_simulation.h on the GPU: grain grown on a raster finer than the picture, in strips
// whose buffers are a few of kStripSamples floats, whatever the picture's size. A strip's rows have
// the same values however the raster is cut: draws go by their number in the whole raster, and what
// brings the noise of the rate to its deviation is that of endless noise, not of a strip.
#pragma once

#include <cstdint>

#include "film/growth_simulation.h"
#include "gpu/device.h"
#include "image/render_context.h"

namespace morva::gpu {

// Sub-samples of a strip with its margins, of which at most three planes are held: 384 MiB.
inline constexpr std::uint64_t kStripSamples = std::uint64_t{1} << 25;

struct GrowthDraws {
  std::uint64_t hash = 0;  // hash_key of the stage's key
  const RenderContext& ctx;
  std::uint64_t strip_samples = kStripSamples;
};

// Transmission of each pixel, of one channel; arguments and exceptions as on the CPU.
GImage grow_silver(Device& device, const GImage& lambda, const SubSampling& sub,
                   const SilverGrains& grains, const GrowthDraws& draws);
GImage grow_dye(Device& device, const GImage& density, const SubSampling& sub,
                const DyeGrains& grains, const GrowthDraws& draws);

// The steps of a strip.

// Rows of the raster that are made from one window of the rate's noise.
struct GrownRows {
  Raster raster = {};
  int per_side = 1;
  std::uint32_t lead = 0;   // rows drawn above the picture
  std::uint32_t first = 0;  // of the drawn rows, the first that is made
  std::uint32_t rows = 0;
  std::uint32_t field_row = 0;  // the row of the noise that belongs to it
};

// What the rate is made of and what each grain does.
struct GrowthRate {
  float spread = 0.0f;  // of the noise in the rate's logarithm
  float shift = 0.0f;   // taken off, so that the mean is 1
  float events = 1.0f;  // grains over a sub-sample for a mean of 1
  float effect = 0.0f;  // area that a grain of silver blocks, or the density of its dye
};

// Light through the grains, or their density; `mean` is the picture's.
GImage silver_light(Device& device, const GrownRows& rows, const GrowthRate& rate,
                    const GImage& noise, const GImage& mean, std::uint64_t hash);
GImage dye_density(Device& device, const GrownRows& rows, const GrowthRate& rate,
                   const GImage& noise, const GImage& mean, std::uint64_t hash);
// Light through rows first .. first + rows - 1 of a density.
GImage dye_light(Device& device, const GImage& density, std::uint32_t first, std::uint32_t rows);
// Means over blocks of per_side x per_side sub-samples, into rows of `picture` from first_row on.
void store_block_means(Device& device, const GImage& light, int per_side, const GImage& picture,
                       std::uint32_t first_row);

}  // namespace morva::gpu
