// Compiled once for each instruction set. Results pass through blocks on the stack, so that the
// vectoriser need not ask whether arrays overlap. All arithmetic on samples is in single precision.

#include "film/vector/grain_loops.h"
#include "image/vector/single_exponential.h"

namespace morva::vector::MORVA_ISA {

namespace {

namespace formula = morva::elementary::formula;

constexpr std::size_t kBlock = 256;

inline std::size_t block_size(std::size_t left) {
  return left < kBlock ? left : kBlock;
}

void rates(const float* field, const float* exposed, std::size_t n, float spread, float shift,
           float events, float* x) {
  float block[kBlock];
  for (std::size_t done = 0; done < n; done += kBlock) {
    const std::size_t count = block_size(n - done);
    for (std::size_t i = 0; i < count; ++i)
      block[i] =
          (formula::single_exp(field[done + i] * spread - shift) * exposed[done + i]) * events;
    __builtin_memcpy(x + done, block, count * sizeof(float));
  }
}

// Blocks are always whole, so that a loop over one is nothing but vectors.
struct alignas(64) Block {
  float at[kBlock];
};

// Rates below kNormalRate: how many of the first terms of the distribution function lie below the
// uniform. Other rates give nothing of use.
void count_terms(const Block& x, const Block& u, Block& count) {
  constexpr std::size_t kGroup = 64;  // elements whose sums stay in registers
  for (std::size_t first = 0; first < kBlock; first += kGroup) {
    float rate[kGroup], limit[kGroup], term[kGroup], sum[kGroup], below[kGroup];
    for (std::size_t i = 0; i < kGroup; ++i) {
      const float wanted = x.at[first + i];
      rate[i] = wanted < 1e-9f ? 1e-9f : wanted;
      limit[i] = wanted < kNormalRate ? u.at[first + i] : -1.0f;
      term[i] = formula::single_exp(-rate[i]);
      sum[i] = term[i];
      below[i] = 0.0f;
    }
    for (int k = 0; k < kPoissonTerms; ++k) {
      const float reciprocal = 1.0f / static_cast<float>(k + 1);
      std::uint32_t open = 0;
      for (std::size_t i = 0; i < kGroup; ++i) {
        const float is_below = sum[i] < limit[i] ? 1.0f : 0.0f;
        below[i] += is_below;
        term[i] = (term[i] * rate[i]) * reciprocal;
        sum[i] += term[i];
      }
      for (std::size_t i = 0; i < kGroup; ++i) open |= sum[i] < limit[i] ? 1u : 0u;
      if (open == 0) break;  // the function never falls
    }
    for (std::size_t i = 0; i < kGroup; ++i) count.at[first + i] = below[i];
  }
}

// ln y for 1e-6 < y <= 1, absolute error 1e-7 (minimax about 1).
inline float single_log(float y) {
  constexpr std::uint32_t kSqrtHalf = 0x3f3504f3u;
  const std::uint32_t bits = __builtin_bit_cast(std::uint32_t, y) + (0x3f800000u - kSqrtHalf);
  const float f = __builtin_bit_cast(float, (bits & 0x007fffffu) + kSqrtHalf) - 1.0f;
  const float exponent = (__builtin_bit_cast(float, bits >> 23 | 0x4b000000u) - 0x1p23f) - 127.0f;
  const float f2 = f * f;
  const float f4 = f2 * f2;
  const float low = (-0.50000584f + f * 0.33335257f) + f2 * (-0.24961506f + f * 0.19888483f);
  const float high = (-0.17325731f + f * 0.16333881f) + f2 * -0.10033210f;
  return exponent * 0.69314718f + (f + f2 * (low + f4 * high));
}

// The deviate that is passed with the chance v, kLeastTail <= v <= 1/2, within 3e-6: (1 - 2v) times
// a polynomial in w = -ln(4 v (1 - v)), as with Giles (2010); minimax.
constexpr float kLeastTail = 2.4e-5f;
inline float single_tail_deviate(float v) {
  const float w = -5.0f - single_log(4.0f * (v * (1.0f - v)));
  const float w2 = w * w;
  const float w4 = w2 * w2;
  const float low =
      (0x1.787c7cp+1f + w * 0x1.35792ep-2f) + w2 * (-0x1.509a3ep-7f + w * 0x1.8547e2p-13f);
  const float middle =
      (0x1.35a66ep-14f + w * -0x1.f90d22p-17f) + w2 * (0x1.978604p-20f + w * 0x1.1f6678p-26f);
  const float high = (-0x1.e64d42p-26f + w * 0x1.ba3e42p-30f) + w2 * 0x1.8530a2p-33f;
  const float p = low + w4 * (middle + w4 * high);
  return (1.0f - 2.0f * v) * p;
}

// x + z sqrt(x) to the nearest whole number. `certainty` is negative where the error of single
// precision, for which there is an upper limit, might have changed it.
void count_by_deviates(const Block& x, const Block& u, Block& count, Block& certainty) {
  constexpr float kMostRate = 0x1p20f;
  for (std::size_t i = 0; i < kBlock; ++i) {
    const float rate = x.at[i];
    const float complement = 1.0f - u.at[i];
    const float tail = u.at[i] < complement ? u.at[i] : complement;
    const float size = single_tail_deviate(tail < kLeastTail ? kLeastTail : tail);
    const float root = __builtin_sqrtf(rate);
    const float value = rate + root * (u.at[i] < complement ? -size : size);
    const float nearest = (value + formula::kSingleRounder) - formula::kSingleRounder;
    const float error = 3e-7f * rate + (tail < kLeastTail ? 1.0f : 4e-6f) * root;
    count.at[i] = nearest > 0.0f ? nearest : 0.0f;
    certainty.at[i] = (rate < kMostRate ? 0.5f : 0.0f) - (error + __builtin_fabsf(value - nearest));
  }
}

inline std::size_t number_below(const Block& values, float limit) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < kBlock; ++i) number += values.at[i] < limit ? 1u : 0u;
  return number;
}

// Gives how many counts are unsure; rare elements among them do no harm.
std::size_t poisson_block(const Block& x, const Block& u, Block& count, std::uint8_t* unsure) {
  const std::size_t rare = number_below(x, kNormalRate);
  if (rare == kBlock) {
    count_terms(x, u, count);
    return 0;
  }
  Block certainty;
  count_by_deviates(x, u, count, certainty);
  if (rare > 0) {
    Block terms;
    count_terms(x, u, terms);
    for (std::size_t i = 0; i < kBlock; ++i)
      count.at[i] = x.at[i] < kNormalRate ? terms.at[i] : count.at[i];
  }
  const std::size_t open = number_below(certainty, 0.0f);
  if (open != 0)
    for (std::size_t i = 0; i < kBlock; ++i) unsure[i] = certainty.at[i] < 0.0f ? 1 : 0;
  return open;
}

std::size_t poisson(const float* x, const float* u, std::size_t n, float* count,
                    std::uint8_t* unsure) {
  Block rate, uniform, counted;
  std::uint8_t unsure_block[kBlock];
  std::size_t opened = 0;
  for (std::size_t done = 0; done < n; done += kBlock) {
    const std::size_t size = block_size(n - done);
    if (size < kBlock)
      for (std::size_t i = 0; i < kBlock; ++i) rate.at[i] = uniform.at[i] = 0.0f;
    __builtin_memcpy(rate.at, x + done, size * sizeof(float));
    __builtin_memcpy(uniform.at, u + done, size * sizeof(float));
    const std::size_t open = poisson_block(rate, uniform, counted, unsure_block);
    __builtin_memcpy(count + done, counted.at, size * sizeof(float));
    if (open == 0)
      __builtin_memset(unsure + done, 0, size);
    else
      __builtin_memcpy(unsure + done, unsure_block, size);
    opened += open;
  }
  return opened;
}

void silver_transmission(float* counts, std::size_t n, float area) {
  for (std::size_t i = 0; i < n; ++i) counts[i] = formula::single_exp(-(counts[i] * area));
}

void dye_transmission(float* densities, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) densities[i] = formula::single_exp10(-densities[i]);
}

void add_row(const float* row, std::size_t n, double* sums) {
  for (std::size_t i = 0; i < n; ++i) sums[i] += static_cast<double>(row[i]);
}

void add_moments(const float* values, std::size_t n, double* sums, double* squares) {
  double sum[8], square[8];
  for (int l = 0; l < 8; ++l) {
    sum[l] = sums[l];
    square[l] = squares[l];
  }
  std::size_t i = 0;
  for (; i + 8 <= n; i += 8)
    for (int l = 0; l < 8; ++l) {
      const double value = static_cast<double>(values[i + l]);
      sum[l] += value;
      square[l] += value * value;
    }
  for (int l = 0; i < n; ++i, ++l) {
    const double value = static_cast<double>(values[i]);
    sum[l] += value;
    square[l] += value * value;
  }
  for (int l = 0; l < 8; ++l) {
    sums[l] = sum[l];
    squares[l] = square[l];
  }
}

constexpr GrainLoops kLoops = {rates,   poisson,    silver_transmission, dye_transmission,
                               add_row, add_moments};

}  // namespace

const GrainLoops& grain_loops() {
  return kLoops;
}

}  // namespace morva::vector::MORVA_ISA
