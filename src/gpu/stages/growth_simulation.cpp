#include "gpu/stages/growth_simulation.h"

#include <algorithm>
#include <new>
#include <vector>

#include "gpu/kernels/grain_layout.h"
#include "gpu/stages/counter_noise.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/filters.h"

namespace morva::gpu {

namespace {

constexpr std::uint64_t kLeastStripRows = 256;
constexpr std::uint64_t kMostStripRows = 16384;

// Margins of a strip, in rows.
struct Margins {
  std::uint32_t rate = 0;   // that the noise of the rate needs
  std::uint32_t cloud = 0;  // that the clouds of dye need
  std::uint32_t all() const { return rate + cloud; }
};

std::uint32_t margin_of(double sigma_px) {
  return sigma_px > 0.0 ? static_cast<std::uint32_t>(gaussian_radius(sigma_px)) : 0;
}

// Rows of a strip: whole pixels, and as many as fit. However wide the margins, a strip is not
// nothing but margins.
std::uint32_t strip_rows(const Raster& raster, int per_side, const Margins& margins,
                         std::uint64_t strip_samples) {
  const std::uint64_t side = static_cast<std::uint64_t>(per_side);
  const std::uint64_t lost = 2 * std::uint64_t{margins.all()};
  const std::uint64_t fit = strip_samples / raster.width;
  std::uint64_t rows =
      std::clamp(fit > lost ? fit - lost : 0, std::min(kLeastStripRows, fit), kMostStripRows);
  rows = std::min<std::uint64_t>(std::max(rows / side * side, side), raster.rows);
  if ((rows + lost) * raster.width > UINT32_MAX) throw std::bad_alloc();
  return static_cast<std::uint32_t>(rows);
}

// Deviation of white noise of unit deviation under a Gaussian of both axes.
double deviation_under_gaussian(double sigma_px) {
  double squares = 0.0;
  for (const double weight : gaussian_kernel(sigma_px, gaussian_radius(sigma_px)))
    squares += weight * weight;
  return squares;
}

GrowthRate rate_of(double sigma, double rate_px, double events, double effect) {
  return {static_cast<float>(sigma / deviation_under_gaussian(rate_px)),
          static_cast<float>(sigma * sigma / 2.0), static_cast<float>(events),
          static_cast<float>(effect)};
}

void blur(Device& device, const GImage& rows, double sigma_px) {
  gaussian_filter(device, plane_of(rows), plane_of(rows), sigma_px, kBoundaryReflect);
}

GImage rate_noise(Device& device, const Raster& raster, std::uint32_t first, std::uint32_t rows,
                  double rate_px, std::uint64_t hash) {
  GImage noise = normal_rows(device, {hash, kRateTag}, first, static_cast<std::int32_t>(rows),
                             static_cast<std::int32_t>(raster.width));
  blur(device, noise, rate_px);
  return noise;
}

GImage counted(Device& device, Kernel kernel, const GrownRows& rows, const GrowthRate& rate,
               const GImage& noise, const GImage& mean, std::uint64_t hash) {
  namespace at = grain_layout;
  GImage made = device.image(static_cast<std::int32_t>(rows.rows),
                             static_cast<std::int32_t>(rows.raster.width), 1);
  std::vector<std::uint32_t> constants(at::kFieldRow + 1);
  constants[at::kRows] = rows.rows;
  constants[at::kRasterWidth] = static_cast<std::uint32_t>(rows.raster.width);
  constants[at::kFirstDrawn] = rows.first;
  constants[at::kPerSide] = static_cast<std::uint32_t>(rows.per_side);
  constants[at::kPictureHeight] = static_cast<std::uint32_t>(mean.height);
  constants[at::kPictureWidth] = static_cast<std::uint32_t>(mean.width);
  constants[at::kLead] = rows.lead;
  constants[at::kFieldRow] = rows.field_row;
  std::vector<float> table(at::kEffect + 1);
  table[at::kSpread] = rate.spread;
  table[at::kShift] = rate.shift;
  table[at::kEvents] = rate.events;
  table[at::kEffect] = rate.effect;
  launch_elements(device, kernel, pixels(made), with_draws(std::move(constants), {hash, kCountTag}),
                  table, {noise.buffer.get(), mean.buffer.get(), made.buffer.get()});
  return made;
}

// Calls `make` with the first row of each strip and how many it has.
template <typename Make>
void for_each_strip(const Raster& raster, std::uint32_t strip, const RenderContext& ctx,
                    const Make& make) {
  const auto all = static_cast<std::uint32_t>(raster.rows);
  for (std::uint32_t y = 0; y < all; y += strip) {
    check_cancel(ctx);
    make(y, std::min(strip, all - y));
  }
}

}  // namespace

GImage silver_light(Device& device, const GrownRows& rows, const GrowthRate& rate,
                    const GImage& noise, const GImage& mean, std::uint64_t hash) {
  return counted(device, Kernel::growth_bw_T, rows, rate, noise, mean, hash);
}

GImage dye_density(Device& device, const GrownRows& rows, const GrowthRate& rate,
                   const GImage& noise, const GImage& mean, std::uint64_t hash) {
  return counted(device, Kernel::growth_color_Df, rows, rate, noise, mean, hash);
}

GImage dye_light(Device& device, const GImage& density, std::uint32_t first, std::uint32_t rows) {
  GImage light = device.image(static_cast<std::int32_t>(rows), density.width, 1);
  const auto n = word(pixels(light));
  launch_elements(device, Kernel::growth_color_T, n,
                  {n, first * static_cast<std::uint32_t>(density.width)}, {},
                  {density.buffer.get(), light.buffer.get()});
  return light;
}

void store_block_means(Device& device, const GImage& light, int per_side, const GImage& picture,
                       std::uint32_t first_row) {
  const auto rows = static_cast<std::uint32_t>(light.height / per_side);
  const auto width = static_cast<std::uint32_t>(picture.width);
  launch_elements(device, Kernel::block_mean, std::uint64_t{rows} * width,
                  {rows, width, static_cast<std::uint32_t>(per_side), first_row}, {},
                  {light.buffer.get(), picture.buffer.get()});
}

GImage grow_silver(Device& device, const GImage& lambda, const SubSampling& sub,
                   const SilverGrains& grains, const GrowthDraws& draws) {
  const Raster raster = raster_of({lambda.width, lambda.height}, sub);
  const double rate_px = growth_reach(grains, sub.sub_um).rate_px;
  const double area = grain_area(grains, sub.sub_um);
  const GrowthRate rate = rate_of(grains.sigma, rate_px, event_factor(area), area);
  const Margins margins = {margin_of(rate_px), 0};
  const auto side = static_cast<std::uint32_t>(sub.per_side);
  GImage transmission = device.image(lambda.height, lambda.width, 1);
  for_each_strip(raster, strip_rows(raster, sub.per_side, margins, draws.strip_samples), draws.ctx,
                 [&](std::uint32_t y, std::uint32_t rows) {
                   const GImage noise =
                       rate_noise(device, raster, y, rows + 2 * margins.rate, rate_px, draws.hash);
                   const GrownRows grown = {raster,           sub.per_side, margins.rate,
                                            y + margins.rate, rows,         margins.rate};
                   store_block_means(device,
                                     silver_light(device, grown, rate, noise, lambda, draws.hash),
                                     sub.per_side, transmission, y / side);
                 });
  return transmission;
}

GImage grow_dye(Device& device, const GImage& density, const SubSampling& sub,
                const DyeGrains& grains, const GrowthDraws& draws) {
  const Raster raster = raster_of({density.width, density.height}, sub);
  const GrowthReach reach = growth_reach(grains, sub.sub_um);
  const GrowthRate rate =
      rate_of(grains.sigma, reach.rate_px, dye_events(grains.unit), grains.unit);
  const Margins margins = {margin_of(reach.rate_px), margin_of(reach.cloud_px)};
  const auto side = static_cast<std::uint32_t>(sub.per_side);
  GImage transmission = device.image(density.height, density.width, 1);
  for_each_strip(
      raster, strip_rows(raster, sub.per_side, margins, draws.strip_samples), draws.ctx,
      [&](std::uint32_t y, std::uint32_t rows) {
        GImage noise =
            rate_noise(device, raster, y, rows + 2 * margins.all(), reach.rate_px, draws.hash);
        const GrownRows grown = {
            raster,      sub.per_side, margins.all(), y + margins.rate, rows + 2 * margins.cloud,
            margins.rate};
        const GImage clouds = dye_density(device, grown, rate, noise, density, draws.hash);
        noise.buffer.reset();  // for the planes that follow
        if (reach.cloud_px > 0.0) blur(device, clouds, reach.cloud_px);
        store_block_means(device, dye_light(device, clouds, margins.cloud, rows), sub.per_side,
                          transmission, y / side);
      });
  return transmission;
}

}  // namespace morva::gpu
