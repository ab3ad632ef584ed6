// Compiled once for each instruction set, so nothing here is shared with other files: raw pointers,
// sizes and loops.

#include "image/vector/turn_loops.h"

namespace morva::vector::MORVA_ISA {

namespace {

constexpr std::size_t kBlock = 64;
constexpr std::ptrdiff_t kTaps = 4;

// A pixel in a register of four samples; those beyond its channels are its neighbour's and are
// dropped.
constexpr std::ptrdiff_t kLanes = 4;

#if defined(__GNUC__)

using Lanes = float __attribute__((vector_size(kLanes * sizeof(float))));

inline Lanes load(const float* from) {
  Lanes lanes;
  __builtin_memcpy(&lanes, from, sizeof lanes);
  return lanes;
}

#else

struct Lanes {
  float at[kLanes];
  float operator[](std::ptrdiff_t i) const { return at[i]; }
};

inline Lanes load(const float* from) {
  return {{from[0], from[1], from[2], from[3]}};
}

inline Lanes operator*(float f, const Lanes& a) {
  return {{f * a.at[0], f * a.at[1], f * a.at[2], f * a.at[3]}};
}

inline Lanes operator+(const Lanes& a, const Lanes& b) {
  return {{a.at[0] + b.at[0], a.at[1] + b.at[1], a.at[2] + b.at[2], a.at[3] + b.at[3]}};
}

#endif

// Where the pixels of a block lie along one axis: the first of the four that each is made of, and
// their weights.
struct Places {
  std::int32_t first[kBlock];
  float weight[kTaps][kBlock];
};

// `position` in pixels from the picture's edge. So far outside that every tap is the edge, it is
// bounded.
void find_places(const double* position, std::int32_t size, Places& places) {
  constexpr double kOutside = 4.0;
  constexpr double kLargest = 2147483640.0;
  const double beyond = static_cast<double>(size) + kOutside - 1.0;
  const double last = beyond < kLargest ? beyond : kLargest;
  float fraction[kBlock];
  for (std::size_t j = 0; j < kBlock; ++j) {
    double among_centres = position[j] - 0.5;
    among_centres = among_centres > -kOutside ? among_centres : -kOutside;
    among_centres = among_centres < last ? among_centres : last;
    // Above 0, where dropping the fraction is the floor.
    const auto pixel =
        static_cast<std::int32_t>(among_centres + kOutside) - static_cast<std::int32_t>(kOutside);
    fraction[j] = static_cast<float>(among_centres - static_cast<double>(pixel));
    places.first[j] = pixel - 1;
  }
  for (std::size_t j = 0; j < kBlock; ++j) {
    const float f = fraction[j];
    const float f2 = f * f;
    const float f3 = f2 * f;
    places.weight[0][j] = f2 - f3 * 0.5f - f * 0.5f;
    places.weight[1][j] = 1.5f * f3 - 2.5f * f2 + 1.0f;
    places.weight[2][j] = 2.0f * f2 - 1.5f * f3 + f * 0.5f;
    places.weight[3][j] = f3 * 0.5f - f2 * 0.5f;
  }
}

// Four by four pixels from (y, x) on, of which some lie outside, and room for the last load.
template <std::ptrdiff_t kChannels>
void copy_with_edge(const TurnedPicture& picture, std::ptrdiff_t y, std::ptrdiff_t x,
                    float* patch) {
  const auto within = [](std::ptrdiff_t at, std::ptrdiff_t size) {
    return at < 0 ? 0 : at < size ? at : size - 1;
  };
  std::ptrdiff_t column[kTaps];
  for (std::ptrdiff_t j = 0; j < kTaps; ++j) column[j] = within(x + j, picture.w) * kChannels;
  for (std::ptrdiff_t i = 0; i < kTaps; ++i) {
    const float* row = picture.samples + within(y + i, picture.h) * picture.w * kChannels;
    for (std::ptrdiff_t j = 0; j < kTaps; ++j)
      for (std::ptrdiff_t k = 0; k < kChannels; ++k) *patch++ = row[column[j] + k];
  }
  for (std::ptrdiff_t k = 0; k < kLanes; ++k) *patch++ = 0.0f;
}

// Pixels in a row that the loads of four touch.
template <std::ptrdiff_t kChannels>
constexpr std::ptrdiff_t kReach = ((kTaps - 1) * kChannels + kLanes + kChannels - 1) / kChannels;

template <std::ptrdiff_t kChannels>
void interpolate(const TurnedPicture& picture, const Places& across, const Places& down,
                 std::size_t n, float* out) {
  for (std::size_t j = 0; j < n; ++j, out += kChannels) {
    const std::ptrdiff_t x = across.first[j], y = down.first[j];
    float patch[kTaps * kTaps * kChannels + kLanes];
    const float* row = patch;
    std::ptrdiff_t stride = kTaps * kChannels;
    if (x >= 0 && y >= 0 && x + kReach<kChannels> <= picture.w && y + kTaps <= picture.h) {
      row = picture.samples + (y * picture.w + x) * kChannels;
      stride = picture.w * kChannels;
    } else {
      copy_with_edge<kChannels>(picture, y, x, patch);
    }
    const auto column = [&](std::ptrdiff_t tap) {
      const float* top = row + tap * kChannels;
      return ((down.weight[0][j] * load(top) + down.weight[1][j] * load(top + stride)) +
              down.weight[2][j] * load(top + 2 * stride)) +
             down.weight[3][j] * load(top + 3 * stride);
    };
    const Lanes pixel = ((across.weight[0][j] * column(0) + across.weight[1][j] * column(1)) +
                         across.weight[2][j] * column(2)) +
                        across.weight[3][j] * column(3);
    for (std::ptrdiff_t k = 0; k < kChannels; ++k) out[k] = pixel[k];
  }
}

template <std::ptrdiff_t kChannels>
void row_of(const TurnedPicture& picture, double x, double y, float* out, std::size_t n) {
  const double cx = picture.w / 2.0, cy = picture.h / 2.0;
  double source_x[kBlock], source_y[kBlock];
  Places across, down;
  for (std::size_t done = 0; done < n; done += kBlock) {
    for (std::size_t j = 0; j < kBlock; ++j) {
      const double dx = x + static_cast<double>(static_cast<std::int64_t>(done + j));
      source_x[j] = (dx * picture.cosine + y * picture.sine) + cx;
      source_y[j] = (y * picture.cosine - dx * picture.sine) + cy;
    }
    find_places(source_x, picture.w, across);
    find_places(source_y, picture.h, down);
    const std::size_t count = n - done < kBlock ? n - done : kBlock;
    interpolate<kChannels>(picture, across, down, count, out + done * kChannels);
  }
}

void turned_row(const TurnedPicture& picture, double x, double y, float* out, std::size_t n) {
  switch (picture.channels) {
    case 1:
      return row_of<1>(picture, x, y, out, n);
    case 2:
      return row_of<2>(picture, x, y, out, n);
    case 3:
      return row_of<3>(picture, x, y, out, n);
    default:
      return row_of<4>(picture, x, y, out, n);
  }
}

constexpr TurnLoops kLoops = {turned_row};

}  // namespace

const TurnLoops& turn_loops() {
  return kLoops;
}

}  // namespace morva::vector::MORVA_ISA
