// Compiled once for each instruction set, so nothing here is shared with other files: raw pointers,
// sizes and loops. A block of outputs is a fixed number of packs, registers of doubles, so that all
// of its sums stay in registers; elsewhere than with GCC and Clang a pack is a small array.

#include "image/vector/filter_loops.h"

#if defined(__GNUC__) && defined(__SSE2__)
#include <immintrin.h>
#endif

namespace morva::vector::MORVA_ISA {

namespace {

// A register of doubles.
#if defined(__AVX512F__)
constexpr std::size_t kPackSize = 8;
#elif defined(__AVX2__)
constexpr std::size_t kPackSize = 4;
#else
constexpr std::size_t kPackSize = 2;
#endif

#if defined(__GNUC__)

using Pack = double __attribute__((vector_size(kPackSize * sizeof(double))));

inline Pack load(const double* from) {
  Pack pack;
  __builtin_memcpy(&pack, from, sizeof pack);
  return pack;
}

inline void store(const Pack& pack, double* to) {
  __builtin_memcpy(to, &pack, sizeof pack);
}

// Written with the conversion instructions, since the compilers split the general conversion of a
// vector.
inline Pack load_floats(const float* from) {
#if defined(__AVX512F__)
  return _mm512_maskz_cvtps_pd(0xff, _mm256_loadu_ps(from));
#elif defined(__AVX2__)
  return _mm256_cvtps_pd(_mm_loadu_ps(from));
#elif defined(__SSE2__)
  return _mm_cvtps_pd(_mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64*>(from)));
#else
  return Pack{static_cast<double>(from[0]), static_cast<double>(from[1])};
#endif
}

inline void store_as_floats(const Pack& pack, float* to) {
  using FloatPack = float __attribute__((vector_size(kPackSize * sizeof(float))));
  const FloatPack floats = __builtin_convertvector(pack, FloatPack);
  __builtin_memcpy(to, &floats, sizeof floats);
}

#else

struct Pack {
  double at[kPackSize];
};

inline Pack load(const double* from) {
  Pack pack;
  for (std::size_t i = 0; i < kPackSize; ++i) pack.at[i] = from[i];
  return pack;
}

inline void store(const Pack& pack, double* to) {
  for (std::size_t i = 0; i < kPackSize; ++i) to[i] = pack.at[i];
}

inline Pack load_floats(const float* from) {
  Pack pack;
  for (std::size_t i = 0; i < kPackSize; ++i) pack.at[i] = static_cast<double>(from[i]);
  return pack;
}

inline void store_as_floats(const Pack& pack, float* to) {
  for (std::size_t i = 0; i < kPackSize; ++i) to[i] = static_cast<float>(pack.at[i]);
}

inline Pack operator+(const Pack& a, const Pack& b) {
  Pack sum;
  for (std::size_t i = 0; i < kPackSize; ++i) sum.at[i] = a.at[i] + b.at[i];
  return sum;
}

inline Pack operator*(const Pack& a, double b) {
  Pack product;
  for (std::size_t i = 0; i < kPackSize; ++i) product.at[i] = a.at[i] * b;
  return product;
}

#endif

// Asks for the line at `address`, which will be read soon: hardware does not foresee a walk across
// rows.
inline void prefetch([[maybe_unused]] const float* address) {
#if defined(__GNUC__)
  __builtin_prefetch(address);
#endif
}

constexpr std::size_t kBlockPacks = 8;
constexpr std::size_t kBlock = kBlockPacks * kPackSize;
constexpr std::size_t kLanePacks = kLanes / kPackSize;

void widen(const float* in, double* out, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) out[i] = static_cast<double>(in[i]);
}

void narrow(const double* in, float* out, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) out[i] = static_cast<float>(in[i]);
}

// Correlation with a symmetric kernel ------------------------------------------------------------

template <std::size_t kPacks>
inline void correlate_packs(const double* centre, std::size_t step, const double* half,
                            std::size_t radius, float* out) {
  Pack sum[kPacks];
  for (std::size_t p = 0; p < kPacks; ++p) sum[p] = load(centre + p * kPackSize) * half[0];
  const double* before = centre - radius * step;
  const double* after = centre + radius * step;
  for (std::size_t k = radius; k > 0; --k) {
    const double weight = half[k];
    for (std::size_t p = 0; p < kPacks; ++p)
      sum[p] = sum[p] + (load(before + p * kPackSize) + load(after + p * kPackSize)) * weight;
    before += step;
    after -= step;
  }
  for (std::size_t p = 0; p < kPacks; ++p) store_as_floats(sum[p], out + p * kPackSize);
}

inline float correlate_one(const double* centre, std::size_t step, const double* half,
                           std::size_t radius) {
  double sum = half[0] * centre[0];
  for (std::size_t k = radius; k > 0; --k)
    sum += (centre[-static_cast<std::ptrdiff_t>(k * step)] + centre[k * step]) * half[k];
  return static_cast<float>(sum);
}

void correlate_line(const double* centre, std::size_t outputs, std::size_t step, const double* half,
                    std::size_t radius, float* out) {
  std::size_t i = 0;
  for (; i + kBlock <= outputs; i += kBlock)
    correlate_packs<kBlockPacks>(centre + i, step, half, radius, out + i);
  for (; i + kPackSize <= outputs; i += kPackSize)
    correlate_packs<1>(centre + i, step, half, radius, out + i);
  for (; i < outputs; ++i) out[i] = correlate_one(centre + i, step, half, radius);
}

// One row of at most kColumnBlock columns; each kLanes of them go to a block of their own.
void load_row(const float* from, std::size_t columns, Lanes* work, std::size_t block_stride) {
  std::size_t x = 0;
  for (; x + kLanes <= columns; x += kLanes, work += block_stride)
    for (std::size_t p = 0; p < kLanePacks; ++p)
      store(load_floats(from + x + p * kPackSize), work->at + p * kPackSize);
  for (; x < columns; ++x) work->at[x % kLanes] = static_cast<double>(from[x]);
}

void clear_row(std::size_t columns, Lanes* work, std::size_t block_stride) {
  for (std::size_t x = 0; x < columns; x += kLanes, work += block_stride)
    for (std::size_t l = 0; l < kLanes; ++l) work->at[l] = 0.0;
}

inline void store_lanes(const float* from, std::size_t columns, float* to) {
  if (columns == kLanes) {
    for (std::size_t l = 0; l < kLanes; ++l) to[l] = from[l];
  } else {
    for (std::size_t l = 0; l < columns; ++l) to[l] = from[l];
  }
}

// One block of columns, whose rows stand in `work`.
void correlate_block(const Lanes* work, std::size_t rows, std::size_t columns, const double* half,
                     std::size_t radius, float* out, std::size_t out_stride) {
  constexpr std::size_t kRows = kBlock / kLanes;
  const double* centre = work[radius].at;
  float block[kBlock];
  std::size_t y = 0;
  for (; y + kRows <= rows; y += kRows) {
    correlate_packs<kBlockPacks>(centre + y * kLanes, kLanes, half, radius, block);
    for (std::size_t j = 0; j < kRows; ++j)
      store_lanes(block + j * kLanes, columns, out + (y + j) * out_stride);
  }
  for (; y < rows; ++y) {
    correlate_packs<kLanePacks>(centre + y * kLanes, kLanes, half, radius, block);
    store_lanes(block, columns, out + y * out_stride);
  }
}

void correlate_columns(const float* src, const std::ptrdiff_t* row_offset, std::size_t rows,
                       std::size_t columns, const double* half, std::size_t radius, Lanes* work,
                       std::size_t block_stride, float* out, std::size_t out_stride) {
  const std::size_t extended_rows = rows + 2 * radius;
  for (std::size_t j = 0; j < extended_rows; ++j) {
    if (row_offset[j] < 0)
      clear_row(columns, work + j, block_stride);
    else
      load_row(src + row_offset[j], columns, work + j, block_stride);
  }
  for (std::size_t x = 0; x < columns; x += kLanes, work += block_stride)
    correlate_block(work, rows, columns - x < kLanes ? columns - x : kLanes, half, radius, out + x,
                    out_stride);
}

// Transposition ----------------------------------------------------------------------------------

// out[i * out_stride + l * out_step] = in[l * in_stride + i * in_step]
void transpose_plain(const float* in, std::size_t in_stride, std::size_t in_step, double* out,
                     std::size_t out_stride, std::size_t out_step, std::size_t lines,
                     std::size_t samples) {
  for (std::size_t i = 0; i < samples; ++i)
    for (std::size_t l = 0; l < lines; ++l)
      out[i * out_stride + l * out_step] = static_cast<double>(in[l * in_stride + i * in_step]);
}

#if defined(__GNUC__)

using Quad = float __attribute__((vector_size(16)));

inline void store_wide(const Quad& quad, double* out) {
#if defined(__AVX2__)
  _mm256_storeu_pd(out, _mm256_cvtps_pd(quad));
#else
  using WideQuad = double __attribute__((vector_size(32)));
  const WideQuad wide = __builtin_convertvector(quad, WideQuad);
  __builtin_memcpy(out, &wide, sizeof wide);
#endif
}

inline void transpose_quads(const float* in, std::size_t in_stride, double* out,
                            std::size_t out_stride) {
  Quad line[4];
  for (std::size_t l = 0; l < 4; ++l) __builtin_memcpy(&line[l], in + l * in_stride, sizeof(Quad));
  const Quad low01 = __builtin_shufflevector(line[0], line[1], 0, 4, 1, 5);
  const Quad low23 = __builtin_shufflevector(line[2], line[3], 0, 4, 1, 5);
  const Quad high01 = __builtin_shufflevector(line[0], line[1], 2, 6, 3, 7);
  const Quad high23 = __builtin_shufflevector(line[2], line[3], 2, 6, 3, 7);
  store_wide(__builtin_shufflevector(low01, low23, 0, 1, 4, 5), out);
  store_wide(__builtin_shufflevector(low01, low23, 2, 3, 6, 7), out + out_stride);
  store_wide(__builtin_shufflevector(high01, high23, 0, 1, 4, 5), out + 2 * out_stride);
  store_wide(__builtin_shufflevector(high01, high23, 2, 3, 6, 7), out + 3 * out_stride);
}

// out[i * out_stride + l] = in[l * in_stride + i]
void transpose(const float* in, std::size_t in_stride, double* out, std::size_t out_stride,
               std::size_t lines, std::size_t samples) {
  const std::size_t whole_lines = lines - lines % 4;
  const std::size_t whole_samples = samples - samples % 4;
  for (std::size_t i = 0; i < whole_samples; i += 4)
    for (std::size_t l = 0; l < whole_lines; l += 4)
      transpose_quads(in + l * in_stride + i, in_stride, out + i * out_stride + l, out_stride);
  transpose_plain(in + whole_samples, in_stride, 1, out + whole_samples * out_stride, out_stride, 1,
                  whole_lines, samples - whole_samples);
  transpose_plain(in + whole_lines * in_stride, in_stride, 1, out + whole_lines, out_stride, 1,
                  lines - whole_lines, samples);
}

#else

void transpose(const float* in, std::size_t in_stride, double* out, std::size_t out_stride,
               std::size_t lines, std::size_t samples) {
  transpose_plain(in, in_stride, 1, out, out_stride, 1, lines, samples);
}

#endif

// Resampling -------------------------------------------------------------------------------------

// out[i] = sum over t of taps[t] * from[t * stride + i]
template <std::size_t kPacks>
inline void weigh_packs(const double* from, std::size_t stride, const double* taps,
                        std::size_t count, float* out) {
  Pack sum[kPacks];
  for (std::size_t p = 0; p < kPacks; ++p) sum[p] = Pack{};
  for (std::size_t t = 0; t < count; ++t) {
    const double weight = taps[t];
    for (std::size_t p = 0; p < kPacks; ++p) sum[p] = sum[p] + load(from + p * kPackSize) * weight;
    from += stride;
  }
  for (std::size_t p = 0; p < kPacks; ++p) store_as_floats(sum[p], out + p * kPackSize);
}

inline float weigh_one(const double* from, std::size_t stride, const double* taps,
                       std::size_t count) {
  double sum = 0.0;
  for (std::size_t t = 0; t < count; ++t) sum += from[t * stride] * taps[t];
  return static_cast<float>(sum);
}

// `work` holds the inputs from pixel `begin` on.
void weigh_tile(const Lanes* work, std::size_t begin, const AxisTaps& axis,
                std::size_t first_output, std::size_t outputs, LaneFloats* tile) {
  for (std::size_t i = 0; i < outputs; ++i) {
    const std::size_t j = first_output + i;
    weigh_packs<kLanePacks>(work[static_cast<std::size_t>(axis.first[j]) - begin].at, kLanes,
                            axis.taps + j * axis.tap_stride,
                            static_cast<std::size_t>(axis.count[j]), tile[i].at);
  }
}

// One past the last input of the outputs before `outputs_end`.
inline std::size_t tile_end(const AxisTaps& axis, std::size_t outputs_end) {
  return static_cast<std::size_t>(axis.first[outputs_end - 1] + axis.count[outputs_end - 1]);
}

void prefetch_rows(const float* src, std::size_t stride, std::size_t rows, std::size_t samples) {
  constexpr std::size_t kLine = 16;  // floats
  for (std::size_t l = 0; l < rows; ++l)
    for (std::size_t i = 0; i < samples; i += kLine) prefetch(src + l * stride + i);
}

void resample_rows(const float* src, std::size_t src_stride, std::size_t rows, std::size_t channels,
                   const AxisTaps& axis, Lanes* work, double* out, std::size_t out_stride) {
  LaneFloats tile[kResampleTile];
  for (std::size_t x = 0; x < axis.outputs; x += kResampleTile) {
    const std::size_t left = axis.outputs - x;
    const std::size_t n = left < kResampleTile ? left : kResampleTile;
    const std::size_t begin = static_cast<std::size_t>(axis.first[x]);
    const std::size_t end = tile_end(axis, x + n);
    if (n < left) {
      const std::size_t next_end = tile_end(axis, x + n + (left - n < n ? left - n : n));
      prefetch_rows(src + end * channels, src_stride, rows, (next_end - end) * channels);
    }
    for (std::size_t k = 0; k < channels; ++k) {
      const float* from = src + begin * channels + k;
      double* to = out + x * channels + k;
      if (channels == 1) {
        transpose(from, src_stride, work[0].at, kLanes, rows, end - begin);
        weigh_tile(work, begin, axis, x, n, tile);
        transpose(tile[0].at, kLanes, to, out_stride, n, rows);
      } else {
        transpose_plain(from, src_stride, channels, work[0].at, kLanes, 1, rows, end - begin);
        weigh_tile(work, begin, axis, x, n, tile);
        transpose_plain(tile[0].at, kLanes, 1, to, out_stride, channels, n, rows);
      }
    }
  }
}

void resample_columns(const double* window, std::size_t window_stride, std::int32_t window_first,
                      const AxisTaps& axis, std::size_t samples, float* out,
                      std::size_t out_stride) {
  for (std::size_t y = 0; y < axis.outputs; ++y) {
    const double* rows =
        window + static_cast<std::size_t>(axis.first[y] - window_first) * window_stride;
    const double* taps = axis.taps + y * axis.tap_stride;
    const std::size_t count = static_cast<std::size_t>(axis.count[y]);
    float* to = out + y * out_stride;
    std::size_t x = 0;
    for (; x + kBlock <= samples; x += kBlock)
      weigh_packs<kBlockPacks>(rows + x, window_stride, taps, count, to + x);
    for (; x + kPackSize <= samples; x += kPackSize)
      weigh_packs<1>(rows + x, window_stride, taps, count, to + x);
    for (; x < samples; ++x) to[x] = weigh_one(rows + x, window_stride, taps, count);
  }
}

}  // namespace

const FilterLoops& filter_loops() {
  static constexpr FilterLoops loops = {
      widen, narrow, correlate_line, correlate_columns, resample_rows, resample_columns};
  return loops;
}

}  // namespace morva::vector::MORVA_ISA
