#include "print/process_texture.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "image/elementary.h"
#include "image/held.h"

namespace morva {

namespace {

constexpr double kLeastTexture = 1e-4;

// Resin dust that was melted on to a plate, and the cells it leaves between its grains: each pixel
// belongs to the nearest of a lattice of jittered seeds, and each seed holds more or less ink than
// its neighbours. Cell size in pixels. One draw names the whole mosaic.
class CellMosaic {
 public:
  CellMosaic(std::uint64_t name, int w, double cell_px) : name_(name), cell_px_(cell_px) {
    for (std::vector<Seed>& row : rows_) row.resize(static_cast<std::size_t>(w / cell_px) + 3);
  }

  void fill_row(int y, float* out, int w) {
    const double v = (y + 0.5) / cell_px_;
    const auto row = static_cast<std::int64_t>(v);
    while (ready_ < row + 1) make_seeds(++ready_);
    const auto fv = static_cast<float>(v - static_cast<double>(row));
    for (int x = 0; x < w; ++x) {
      const double u = (x + 0.5) / cell_px_;
      const int column = static_cast<int>(u);
      out[x] = nearest(row, column, static_cast<float>(u - column), fv);
    }
  }

 private:
  struct Seed {
    float x, y;  // within its cell
    float ink;
  };

  static float share(std::uint64_t bits) { return static_cast<float>(bits & 0xffffu) * 0x1p-16f; }

  void make_seeds(std::int64_t row) {
    std::vector<Seed>& seeds = rows_[static_cast<std::size_t>((row + 3) % 3)];
    std::uint64_t hash = mix64(name_ + static_cast<std::uint64_t>(row + 2) * 0x9e3779b97f4a7c15u);
    for (Seed& seed : seeds) {
      hash += 0x9e3779b97f4a7c15u;
      const std::uint64_t bits = mix64(hash);
      seed = {share(bits), share(bits >> 16), share(bits >> 32) + share(bits >> 48) - 1.0f};
    }
  }

  // Seeds of column `column` stand one place on, so that the picture's first column has a left
  // neighbour.
  float nearest(std::int64_t row, int column, float fu, float fv) const {
    float least = 9.0f;
    float ink = 0.0f;
    for (int dy = -1; dy <= 1; ++dy) {
      const Seed* seeds = rows_[static_cast<std::size_t>((row + dy + 3) % 3)].data() + column;
      for (int dx = -1; dx <= 1; ++dx) {
        const Seed& seed = seeds[dx + 1];
        const float away_x = seed.x + static_cast<float>(dx) - fu;
        const float away_y = seed.y + static_cast<float>(dy) - fv;
        const float distance = away_x * away_x + away_y * away_y;
        ink = distance < least ? seed.ink : ink;
        least = std::min(distance, least);
      }
    }
    return ink;
  }

  std::uint64_t name_;
  double cell_px_;
  std::int64_t ready_ = -2;  // last row of seeds that stands in rows_
  std::vector<Seed> rows_[3];
};

Image cell_field(Rng& rng, int w, int h, double cell_px) {
  Image field(h, w, 1);
  CellMosaic mosaic(rng.next(), w, cell_px);
  for (int y = 0; y < h; ++y)
    mosaic.fill_row(y, &field.data[static_cast<std::size_t>(y) * field.row_samples()], w);
  scale_to_unit_deviation(field);
  return field;
}

// Fibres of a sheet lie where a smooth field crosses zero: threads of about the field's own width
// that wind and end. Ink gathers in them and lacks between them: the field is one about its mean.
Image fibre_field(Rng& rng, int w, int h, double sigma) {
  constexpr float thread = 0.45f;  // half width, deviations of the field
  Image field = smooth_field(rng, w, h, sigma);
  for (float& v : field.data) {
    const float across = v / thread;
    v = -across * across;
  }
  elementary::expf(field.data.data(), field.data.data(), field.data.size());
  take_off_mean(field);
  scale_to_unit_deviation(field);
  return field;
}

// The grain of a block cut along the tree: rings as long lines of uneven spacing, and between them
// the fine pores.
Image wood_field(Rng& rng, int w, int h, double sigma) {
  constexpr double ring_widths = 4.0;
  constexpr double length_to_width = 60.0;
  const double pore_length = 0.2 * length_to_width * sigma;
  DrawnField drawn;
  drawn.layers.push_back(stroke_layer(rng, w, h, length_to_width * sigma, ring_widths * sigma));
  drawn.layers.push_back(stroke_layer(rng, w, h, pore_length, sigma));
  return sum_of_layers(std::move(drawn), w, h);
}

FieldLayer finished(Image field, double share = 1.0) {
  return {std::move(field), share, true};
}

}  // namespace

bool shows(const TextureBlock& texture) {
  return texture.ink.strength > kLeastTexture;
}

bool shows(const RollerBlock& roller) {
  return roller.ink.strength > 0.0;
}

DrawnField draw_texture(Rng& rng, int w, int h, const TextureBlock& texture, double px_per_mm) {
  const double px_per_um = px_per_mm / 1000.0;
  const double fine_px = std::max(0.6, texture.fine_um * px_per_um);
  const double wide_px = std::max(1.0, texture.wide_um * px_per_um);
  DrawnField drawn;
  const auto add = [&](FieldLayer layer) { drawn.layers.push_back(std::move(layer)); };
  if (texture.kind == TextureKind::cells) {
    const double most = static_cast<double>(std::max(w, h)) + 1.0;
    add(finished(cell_field(rng, w, h, held(texture.cell_um * px_per_um, 0.7, most))));
    add(smooth_layer(rng, w, h, fine_px, texture.fine_amp));
  } else if (texture.kind == TextureKind::fibre) {
    add(finished(fibre_field(rng, w, h, fine_px)));
    add(finished(fibre_field(rng, w, h, 2.0 * fine_px)));
  } else if (texture.kind == TextureKind::wood) {
    add(finished(wood_field(rng, w, h, fine_px)));
  } else {
    add(smooth_layer(rng, w, h, fine_px));
  }
  add(smooth_layer(rng, w, h, wide_px, texture.wide_amp));
  return drawn;
}

Image texture_field(Rng& rng, int w, int h, const TextureBlock& texture, double px_per_mm) {
  return sum_of_layers(draw_texture(rng, w, h, texture, px_per_mm), w, h);
}

DrawnField draw_roller(Rng& rng, int w, int h, const RollerBlock& roller, double px_per_mm) {
  const double r = roller.ink.strength;
  const double spread = 0.5 * (1.0 + 1.6 * r);  // a heavier hand drags the layer further
  const double brush_px = std::max(1.0, roller.brush_mm * spread * px_per_mm);
  const double fine_px = std::max(1.0, roller.fine_mm * spread * px_per_mm);
  DrawnField drawn;
  drawn.layers.push_back(smooth_layer(rng, w, h, brush_px));
  drawn.layers.push_back(smooth_layer(rng, w, h, fine_px, roller.fine_amp * (1.0 - 0.8 * r)));
  // A sheet holds only a few widths of the brush. What they have in common is the amount of ink,
  // which is the printer's choice; the roller leaves the differences.
  drawn.about_its_mean = true;
  return drawn;
}

Image roller_field(Rng& rng, int w, int h, const RollerBlock& roller, double px_per_mm) {
  return sum_of_layers(draw_roller(rng, w, h, roller, px_per_mm), w, h);
}

void show_in_ink(Image& ink, const Image& field, const InkField& how) {
  const auto strength = static_cast<float>(how.change());
  const auto specks = static_cast<float>(how.specks);
  const std::size_t width = ink.row_samples();
  std::vector<float> body(width), lights(width);
  for (int y = 0; y < ink.h; ++y) {
    float* d = &ink.data[static_cast<std::size_t>(y) * width];
    const float* n = &field.data[static_cast<std::size_t>(y) * width];
    for (std::size_t x = 0; x < width; ++x) {
      const float light = d[x] / 0.14f;
      lights[x] = -light * light;
    }
    elementary::expf(lights.data(), lights.data(), width);
    elementary::powf(d, 0.85f, body.data(), width);
    for (std::size_t x = 0; x < width; ++x) {
      const float b = d[x];
      const float tone = (1.0f - 0.4f * b * b * b) * body[x] / 0.62f * n[x];
      const float speck = lights[x] * std::max(0.0f, n[x]) * specks;
      const float shown = (tone + speck) * strength + b;
      d[x] = shown > 0.0f ? std::min(shown, 1.0f) : 0.0f;  // what is no number is bare paper
    }
  }
}

}  // namespace morva
