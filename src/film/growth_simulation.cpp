#include "film/growth_simulation.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <vector>

#include "film/normal_deviate.h"
#include "film/vector/grain_loops.h"
#include "image/elementary.h"
#include "image/gaussian_stream.h"
#include "image/large_pages.h"
#include "image/noise.h"
#include "image/row_resizer.h"

namespace morva {

namespace {

constexpr std::size_t kStripRows = 1536;
constexpr std::size_t kChunkRows = 4;  // rows of sub-samples that share the cache
constexpr std::size_t kBlock = 1024;
constexpr double kLeastReachPx = 0.6;
constexpr double kLeastCloudPx = 0.05;
constexpr double kReachSigmas = 4.0;
constexpr double kLongestReachPx = 512.0;

// Rows y0 .. y0 + rows - 1 of the raster, which begin at row `pad` of what is drawn for them.
struct Strip {
  std::size_t y0;
  std::size_t rows;
  std::size_t pad;
  std::size_t padded_rows() const { return rows + 2 * pad; }
  std::int64_t first_drawn() const {
    return static_cast<std::int64_t>(y0) - static_cast<std::int64_t>(pad);
  }
};

// The lognormal rate of grains, exp(field * spread - shift), whose mean is 1.
struct RateField {
  std::vector<float> field;
  float spread = 0.0f;
  float shift = 0.0f;
};

// Deviation about the mean from sums of the values and of their squares.
double deviation_of(const double (&sums)[8], const double (&squares)[8], std::size_t n) {
  double sum = 0.0, square = 0.0;
  for (int l = 0; l < 8; ++l) {
    sum += sums[l];
    square += squares[l];
  }
  const double mean = sum / static_cast<double>(n);
  return std::sqrt(std::max(square / static_cast<double>(n) - mean * mean, 0.0));
}

// Room for a field, which the strips of a raster share.
void reserve_field(std::vector<float>& field, std::size_t samples) {
  if (samples > field.capacity()) {
    field = std::vector<float>();
    field.reserve(samples);
    prefer_large_pages(field.data(), samples * sizeof(float));
  }
  field.resize(samples);
}

// Smooth noise over a padded strip, of which `margin` rows above and below are left out; the
// deviation that brings its spread to sigma is that of the rows without padding.
void draw_rates(const Strip& strip, std::size_t margin, std::size_t width, double reach_px,
                double sigma, const GrowthDraws& draws, RateField& rates) {
  const std::size_t kept_from = margin;
  const std::size_t kept_to = strip.padded_rows() - margin;
  reserve_field(rates.field, (kept_to - kept_from) * width);
  double sums[8] = {}, squares[8] = {};
  NoiseRows noise(draws.key, strip.first_drawn(),
                  strip.first_drawn() + static_cast<std::int64_t>(strip.padded_rows()),
                  static_cast<std::int32_t>(width), draws.counter);
  const auto read = [&](const TilePlace& tile, float* out, std::size_t stride) {
    if (tile.x == 0 && draws.ctx != nullptr) check_cancel(*draws.ctx);
    noise.take(tile.y, tile.rows, tile.x, tile.columns, out, stride);
  };
  const auto take = [&](const TilePlace& tile, const float* in, std::size_t stride) {
    for (std::size_t j = 0; j < tile.rows; ++j) {
      const std::size_t y = tile.y + j;
      if (y < kept_from || y >= kept_to) continue;
      const float* row = in + j * stride;
      std::copy_n(row, tile.columns, &rates.field[(y - kept_from) * width + tile.x]);
      if (y >= strip.pad && y < strip.pad + strip.rows)
        vector::grain_loops().add_moments(row, tile.columns, sums, squares);
    }
  };
  stream_gaussian(strip.padded_rows(), width, reach_px, read, take);
  const double deviation = std::max(deviation_of(sums, squares, strip.rows * width), 1e-6);
  rates.spread = static_cast<float>(sigma / deviation);
  rates.shift = static_cast<float>(sigma * sigma / 2.0);
}

// Means over blocks of sub-samples, in double: each column of a block from the top down, then the
// columns from left to right.
class BlockMeans {
 public:
  BlockMeans(std::size_t per_side, std::size_t width, Image& out)
      : per_side_(per_side),
        width_(width),
        slots_(kStreamRows / per_side + 2),
        sums_(slots_ * width),
        out_(out) {}

  // The sums to which the samples of row y from column x on are added; a column's rows come in
  // order.
  double* sums_of(std::size_t y, std::size_t x) {
    return &sums_[(y / per_side_) % slots_ * width_ + x];
  }

  // All rows before `end` are complete.
  void finish(std::size_t end) {
    const double area = static_cast<double>(per_side_ * per_side_);
    for (; (finished_ + 1) * per_side_ <= end; ++finished_) {
      double* sums = &sums_[finished_ % slots_ * width_];
      float* to = &out_.data[finished_ * out_.row_samples()];
      for (std::size_t x = 0; x < out_.row_samples(); ++x) {
        double sum = 0.0;
        for (std::size_t k = 0; k < per_side_; ++k) sum += sums[x * per_side_ + k];
        to[x] = static_cast<float>(sum / area);
      }
      std::fill_n(sums, width_, 0.0);
    }
  }

 private:
  std::size_t per_side_;
  std::size_t width_;
  std::size_t slots_;  // rows of blocks that may be open at once
  std::vector<double> sums_;
  Image& out_;
  std::size_t finished_ = 0;
};

// Grain counts of successive rows of a strip. `exposed` is the picture enlarged to sub-samples;
// above and below it its edge rows go on.
class GrainCounter {
 public:
  GrainCounter(const Image& exposed, std::size_t rows, std::size_t width, float events)
      : rows_(rows),
        width_(width),
        events_(events),
        enlarged_(exposed, static_cast<std::int32_t>(width), static_cast<std::int32_t>(rows),
                  kResizeTriangle),
        exposed_(kChunkRows * width),
        uniforms_(kChunkRows * width) {}

  // Draws for rows y .. y + count - 1 of the raster; `index` is the number of the first of their
  // uniforms in the strip's own sequence.
  void prepare(std::int64_t y, std::size_t count, std::int64_t strip_y0, std::size_t index,
               const GrowthDraws& draws) {
    const std::int64_t last = static_cast<std::int64_t>(rows_) - 1;
    if (y >= 0 && y + static_cast<std::int64_t>(count) - 1 <= last) {
      enlarged_.make_rows(static_cast<std::size_t>(y), count, exposed_.data(), width_);
    } else {
      for (std::size_t j = 0; j < count; ++j) {
        const std::int64_t row =
            std::clamp<std::int64_t>(y + static_cast<std::int64_t>(j), 0, last);
        enlarged_.make_rows(static_cast<std::size_t>(row), 1, &exposed_[j * width_], width_);
      }
    }
    fill_row_uniforms(draws.key, strip_y0, index, count * width_, draws.counter, uniforms_.data());
  }

  // Counts of a part of the rows that are prepared, the rates' field in and counts out.
  void count(const float* field, std::size_t first, std::size_t n, const RateField& rates,
             float* out) const {
    float x[kBlock];
    vector::grain_loops().rates(field, &exposed_[first], n, rates.spread, rates.shift, events_, x);
    poisson_inverse(&uniforms_[first], x, n, out);
  }

 private:
  std::size_t rows_;
  std::size_t width_;
  float events_;
  RowResizer enlarged_;
  std::vector<float> exposed_;
  std::vector<float> uniforms_;
};

std::vector<Strip> strips_of(const Raster& raster, double reach_px) {
  const auto pad = static_cast<std::size_t>(std::ceil(kReachSigmas * reach_px));
  sample_count(static_cast<std::int64_t>(kStripRows + 2 * pad),
               static_cast<std::int64_t>(raster.width), 1);
  std::vector<Strip> strips;
  for (std::size_t y = 0; y < raster.rows; y += kStripRows)
    strips.push_back({y, std::min(kStripRows, raster.rows - y), pad});
  return strips;
}

GrowthReach bounded_reach(double rate_px, double cloud_px) {
  const GrowthReach reach = {std::max(kLeastReachPx, rate_px),
                             cloud_px > kLeastCloudPx ? cloud_px : 0.0};
  if (!(std::max(reach.rate_px, reach.cloud_px) <= kLongestReachPx))
    throw std::length_error("grain: a reach beyond 512 sub-samples");
  return reach;
}

// Each dye cloud spreads over its neighbours; then light passes.
void spread_clouds(const Strip& strip, std::size_t width, double cloud_px,
                   const std::vector<float>& densities, BlockMeans& means) {
  const auto read = [&](const TilePlace& tile, float* out, std::size_t stride) {
    for (std::size_t j = 0; j < tile.rows; ++j)
      std::copy_n(&densities[(tile.y + j) * width + tile.x], tile.columns, out + j * stride);
  };
  const auto take = [&](const TilePlace& tile, const float* in, std::size_t stride) {
    for (std::size_t j = 0; j < tile.rows; ++j) {
      const std::size_t y = tile.y + j;
      if (y < strip.pad || y >= strip.pad + strip.rows) continue;
      vector::grain_loops().add_dye_light(in + j * stride, tile.columns,
                                          means.sums_of(strip.y0 + y - strip.pad, tile.x));
    }
    const std::size_t seen = tile.y + tile.rows;
    if (tile.x + tile.columns == width && seen > strip.pad)
      means.finish(strip.y0 + std::min(seen - strip.pad, strip.rows));
  };
  stream_gaussian(strip.padded_rows(), width, cloud_px, read, take);
}

}  // namespace

double grain_area(const SilverGrains& grains, double sub_um) {
  const double side = grains.t_um / sub_um;
  return std::min(side * side, 1.0);
}

double event_factor(double area) {
  return 1.0 / (1.0 - elementary::exp(-area));
}

double dye_events(double unit) {
  return 1.0 / std::max(unit, 1e-4);
}

Raster raster_of(PixelSize picture, const SubSampling& sub) {
  const std::int64_t rows = static_cast<std::int64_t>(picture.h) * sub.per_side;
  const std::int64_t width = static_cast<std::int64_t>(picture.w) * sub.per_side;
  if (rows > INT32_MAX || width > INT32_MAX) throw std::bad_alloc();
  return {static_cast<std::size_t>(rows), static_cast<std::size_t>(width)};
}

GrowthReach growth_reach(const SilverGrains& grains, double sub_um) {
  return bounded_reach(grains.r_um / sub_um, 0.0);
}

GrowthReach growth_reach(const DyeGrains& grains, double sub_um) {
  return bounded_reach(grains.r_um / sub_um, grains.cloud_um / sub_um);
}

Image grow_silver(const Image& lambda, const SubSampling& sub, const SilverGrains& grains,
                  const GrowthDraws& draws) {
  const Raster raster = raster_of({lambda.w, lambda.h}, sub);
  const double area = grain_area(grains, sub.sub_um);
  const double reach_px = growth_reach(grains, sub.sub_um).rate_px;
  GrainCounter counter(lambda, raster.rows, raster.width, static_cast<float>(event_factor(area)));
  Image transmission(lambda.h, lambda.w, 1);
  BlockMeans means(static_cast<std::size_t>(sub.per_side), raster.width, transmission);
  RateField rates;
  float counts[kBlock];
  for (const Strip& strip : strips_of(raster, reach_px)) {
    draw_rates(strip, strip.pad, raster.width, reach_px, grains.sigma, draws, rates);
    for (std::size_t y = 0; y < strip.rows; y += kChunkRows) {
      const std::size_t rows = std::min(kChunkRows, strip.rows - y);
      const std::size_t index = y * raster.width;
      counter.prepare(static_cast<std::int64_t>(strip.y0 + y), rows,
                      static_cast<std::int64_t>(strip.y0), index, draws);
      for (std::size_t j = 0; j < rows; ++j)
        for (std::size_t x = 0; x < raster.width; x += kBlock) {
          const std::size_t n = std::min(kBlock, raster.width - x);
          const std::size_t first = j * raster.width + x;
          counter.count(&rates.field[index + first], first, n, rates, counts);
          vector::grain_loops().add_silver_light(counts, n, static_cast<float>(area),
                                                 means.sums_of(strip.y0 + y + j, x));
        }
      means.finish(strip.y0 + y + rows);
    }
  }
  return transmission;
}

Image grow_dye(const Image& density, const SubSampling& sub, const DyeGrains& grains,
               const GrowthDraws& draws) {
  const Raster raster = raster_of({density.w, density.h}, sub);
  const auto [reach_px, cloud_px] = growth_reach(grains, sub.sub_um);
  const auto unit = static_cast<float>(grains.unit);
  GrainCounter counter(density, raster.rows, raster.width,
                       static_cast<float>(dye_events(grains.unit)));
  Image transmission(density.h, density.w, 1);
  BlockMeans means(static_cast<std::size_t>(sub.per_side), raster.width, transmission);
  RateField rates;
  for (const Strip& strip : strips_of(raster, std::max(reach_px, cloud_px))) {
    draw_rates(strip, 0, raster.width, reach_px, grains.sigma, draws, rates);
    std::vector<float>& densities = rates.field;  // the field turns into density in place
    for (std::size_t y = 0; y < strip.padded_rows(); y += kChunkRows) {
      const std::size_t rows = std::min(kChunkRows, strip.padded_rows() - y);
      const std::size_t index = y * raster.width;
      counter.prepare(strip.first_drawn() + static_cast<std::int64_t>(y), rows,
                      static_cast<std::int64_t>(strip.y0), index, draws);
      for (std::size_t first = 0; first < rows * raster.width; first += kBlock) {
        const std::size_t n = std::min(kBlock, rows * raster.width - first);
        float* part = &densities[index + first];
        counter.count(part, first, n, rates, part);
        for (std::size_t i = 0; i < n; ++i) part[i] *= unit;
      }
    }
    spread_clouds(strip, raster.width, cloud_px, densities, means);
  }
  return transmission;
}

}  // namespace morva
