// Compiled once for each instruction set. Results pass through blocks on the stack, so that the
// vectoriser need not ask whether arrays overlap. All arithmetic on samples is in single precision.

#include "film/vector/deviate_formula.h"
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

// The root of x, relative error 2^-22; the first guess of its inverse halves the exponent in the
// bits of the number.
inline float single_root(float x) {
  const float raised = x < 1e-30f ? 1e-30f : x;
  const std::uint32_t halved = 0x5f375a86u - (__builtin_bit_cast(std::uint32_t, raised) >> 1);
  const float half = 0.5f * raised;
  float inverse = __builtin_bit_cast(float, halved);
  inverse = inverse * (1.5f - (half * inverse) * inverse);
  inverse = inverse * (1.5f - (half * inverse) * inverse);
  inverse = inverse * (1.5f - (half * inverse) * inverse);
  return raised * inverse;
}

// The deviate that is passed with the chance v, kLeastTail <= v <= 1/2, within 3e-6: (1 - 2v) times
// a polynomial in w = -ln(4 v (1 - v)) - 5, as with Giles (2010); minimax.
constexpr float kLeastTail = 2.4e-5f;
inline float tail_polynomial(float w) {
  const float w2 = w * w;
  const float w4 = w2 * w2;
  const float low =
      (0x1.787c7cp+1f + w * 0x1.35792ep-2f) + w2 * (-0x1.509a3ep-7f + w * 0x1.8547e2p-13f);
  const float middle =
      (0x1.35a66ep-14f + w * -0x1.f90d22p-17f) + w2 * (0x1.978604p-20f + w * 0x1.1f6678p-26f);
  const float high = (-0x1.e64d42p-26f + w * 0x1.ba3e42p-30f) + w2 * 0x1.8530a2p-33f;
  return low + w4 * (middle + w4 * high);
}

// x + z sqrt(x) to the nearest whole number. `certainty` is negative where the error of single
// precision, for which there is an upper limit, might have changed it. In three loops: the
// processor sees no further than one long chain, so short chains of several elements run side by
// side.
void count_by_deviates(const Block& x, const Block& u, Block& count, Block& certainty) {
  constexpr float kMostRate = 0x1p20f;
  Block w, deviate;
  for (std::size_t i = 0; i < kBlock; ++i) {
    const float complement = 1.0f - u.at[i];
    const float tail = u.at[i] < complement ? u.at[i] : complement;
    const float v = tail < kLeastTail ? kLeastTail : tail;
    w.at[i] = -5.0f - single_log(4.0f * (v * (1.0f - v)));
  }
  for (std::size_t i = 0; i < kBlock; ++i) {
    const float off_centre = u.at[i] + (u.at[i] - 1.0f);
    deviate.at[i] = off_centre * tail_polynomial(w.at[i]);
  }
  for (std::size_t i = 0; i < kBlock; ++i) {
    const float rate = x.at[i];
    const float root = single_root(rate);
    const float value = rate + root * deviate.at[i];
    const float nearest = (value + formula::kSingleRounder) - formula::kSingleRounder;
    const bool in_tail = u.at[i] < kLeastTail || u.at[i] > 1.0f - kLeastTail;
    const float error = 3e-7f * rate + (in_tail ? 1.0f : 4e-6f) * root;
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

void add_silver_light(const float* counts, std::size_t n, float area, double* sums) {
  for (std::size_t i = 0; i < n; ++i)
    sums[i] += static_cast<double>(formula::single_exp(-(counts[i] * area)));
}

void add_dye_light(const float* densities, std::size_t n, double* sums) {
  for (std::size_t i = 0; i < n; ++i)
    sums[i] += static_cast<double>(formula::single_exp10(-densities[i]));
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

// Node by node, so that the loop over elements has nothing but one exponential in it.
void silver_moments(const float* lambda, std::size_t n, const SilverMoments& grains, double* mean,
                    double* variance) {
  constexpr std::size_t kNodes = sizeof grains.rate / sizeof grains.rate[0];
  double first[kBlock], square[kBlock], second[kBlock];
  for (std::size_t done = 0; done < n; done += kBlock) {
    const std::size_t count = block_size(n - done);
    for (std::size_t i = 0; i < count; ++i) first[i] = square[i] = second[i] = 0.0;
    for (std::size_t k = 0; k < kNodes; ++k) {
      const double weight = grains.weight[k];
      const double one = -(grains.rate[k] * grains.q1);
      const double two = -(grains.rate[k] * grains.q2);
      for (std::size_t i = 0; i < count; ++i) {
        const double t = formula::exp_all(static_cast<double>(lambda[done + i]) * one);
        first[i] += weight * t;
        square[i] += weight * (t * t);
      }
      for (std::size_t i = 0; i < count; ++i)
        second[i] += weight * formula::exp_all(static_cast<double>(lambda[done + i]) * two);
    }
    for (std::size_t i = 0; i < count; ++i) {
      const double of_grains = second[i] - square[i];
      const double of_rate = square[i] - first[i] * first[i];
      mean[done + i] = first[i];
      variance[done + i] = (of_grains > 0.0 ? of_grains : 0.0) / grains.n_cells +
                           grains.shape * (of_rate > 0.0 ? of_rate : 0.0);
    }
  }
}

void deviates(const float* u, std::size_t n, double* z) {
  for (std::size_t i = 0; i < n; ++i) z[i] = formula::deviate_of(u[i]);
}

constexpr GrainLoops kLoops = {rates,       poisson,        add_silver_light, add_dye_light,
                               add_moments, silver_moments, deviates};

}  // namespace

const GrainLoops& grain_loops() {
  return kLoops;
}

}  // namespace morva::vector::MORVA_ISA
