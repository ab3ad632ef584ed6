// A run printed in bands against the same run on the whole raster, byte for byte, and the mottle
// that is made by rows.

#include "repro/print_run.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

#include "image/filters.h"
#include "image/pairwise_sum.h"
#include "image/resample.h"
#include "print/pictures.h"
#include "repro/inks.h"

namespace morva {
namespace {

constexpr double kEdgeSigma = 0.9;  // of what lay_down softens, pixels

Image noise_picture(int h, int w, int c) {
  Image picture(h, w, c);
  Rng rng = rng_from_key({5, 6, h, w});
  rng.fill_uniforms(picture.data.data(), picture.data.size());
  return picture;
}

// Three plates with a mark on each at its own place and a soft edge that looks at rows beside it.
PrintRun marked_run(const Image& picture, const RasterScale& scale, double sigma_px) {
  PrintRun run;
  run.base = {0.9f, 0.8f, 0.7f};
  const int w = enlarged_side(picture.w, scale), h = enlarged_side(picture.h, scale);
  run.plates = {Plate{{0.1f, 0.5f, 0.9f}, 3, -2}, Plate{{0.8f, 0.1f, 0.4f}, -5 * w - 7, 3 * h + 11},
                Plate{{0.2f, 0.2f, 0.2f}, 0, h / 2}, Plate{{1.0f, 0.9f, 0.1f}, 0, 0}};
  const auto channels = static_cast<std::size_t>(picture.c);
  run.separate = [channels](const float* p, std::size_t n, float* const* planes) {
    for (std::size_t i = 0; i < n; ++i)
      for (std::size_t k = 0; k < 4; ++k)
        planes[k][i] =
            1.0f - p[i * channels + k % channels] * (1.0f - 0.1f * static_cast<float>(k));
  };
  run.lay_down = [](PlateRows& rows) {
    for (int y = 0; y < rows.coverage.h; ++y)
      for (int x = 0; x < rows.coverage.w; ++x)
        if ((rows.y + y + 2 * x + rows.plate) % 5 == 0) rows.coverage.at(y, x) = 1.0f;
    rows.coverage = gaussian_filter(rows.coverage, kEdgeSigma, kBoundaryNearest);
  };
  run.reach = static_cast<int>(gaussian_radius(kEdgeSigma));
  run.psf_sigma_px = sigma_px;
  run.mottle = 0.2;
  Rng rng = rng_from_key({1});
  run.mottle_field = mottle_field(h, w, 1.0, 1.3, 9.0, 0.6, rng);
  return run;
}

Image rolled(const Image& plane, const Plate& plate) {
  Image out = plane;
  const auto from = [](int i, int shift, int n) { return ((i - shift) % n + n) % n; };
  for (int y = 0; y < out.h; ++y)
    for (int x = 0; x < out.w; ++x)
      out.at(y, x) = plane.at(from(y, plate.shift_y, out.h), from(x, plate.shift_x, out.w));
  return out;
}

Image whole_run(const Image& picture, const RasterScale& scale, const PrintRun& run) {
  const int up_h = enlarged_side(picture.h, scale.up), up_w = enlarged_side(picture.w, scale.up);
  Image large = resize_image(picture, up_w, up_h, kResizeBicubic);
  large = resize_image(large, up_w * scale.over, up_h * scale.over, kResizeBicubic);
  std::vector<Image> planes(run.plates.size(), Image(large.h, large.w, 1));
  std::vector<float*> to;
  for (Image& plane : planes) to.push_back(plane.data.data());
  run.separate(large.data.data(), large.pixels(), to.data());
  std::vector<const float*> from;
  std::vector<std::array<float, 3>> inks;
  for (std::size_t p = 0; p < planes.size(); ++p) {
    PlateRows rows{static_cast<int>(p), 0, planes[p]};
    run.lay_down(rows);
    planes[p] = rolled(rows.coverage, run.plates[p]);
    from.push_back(planes[p].data.data());
    inks.push_back(run.plates[p].ink);
  }
  Image sheet(large.h, large.w, 3);
  overprint(from.data(), inks.data(), static_cast<int>(inks.size()), run.base, sheet.pixels(),
            sheet.data.data());
  if (run.psf_sigma_px >= 0.3) sheet = blur_image(sheet, run.psf_sigma_px);
  apply_mottle(sheet.data.data(), sheet.pixels(), run.mottle,
               MottleRows(run.mottle_field).rows(0, sheet.h), run.base);
  for (float& v : sheet.data) v = std::clamp(v, 0.0f, 1.0f);
  sheet = resize_image(sheet, up_w, up_h, kResizeBox);
  return resize_image(sheet, picture.w, picture.h, kResizeBox);
}

TEST(PrintRun, BandsGiveTheBytesOfTheWholeRaster) {
  RenderContext ctx;
  for (const auto& [h, w, c] :
       {std::array{47, 61, 3}, {31, 67, 1}, {1, 1, 3}, {1, 50, 3}, {50, 1, 3}})
    for (const auto& [up, over] : {std::pair(1.0, 1), {1.77, 2}, {2.0, 2}, {1.3, 1}, {1.0, 2}})
      for (const double sigma_px : {0.2, 1.6, 9.9, 12.0}) {
        const Image picture = noise_picture(h, w, c);
        RasterScale scale;
        scale.up = up;
        scale.over = over;
        const PrintRun run = marked_run(picture, scale, sigma_px);
        const Image whole = whole_run(picture, scale, run);
        for (const int rows : {0, 1, 7, 64, 100000}) {
          const Image sheet = print_run(picture, scale, run, ctx, rows);
          ASSERT_EQ(sheet.data, whole.data) << h << "x" << w << " up " << up << " over " << over
                                            << " sigma " << sigma_px << " rows " << rows;
        }
      }
}

// A numberless picture and numbers that no press has.
TEST(PrintRun, NothingLeavesTheSheet) {
  RenderContext ctx;
  const RasterScale scale;
  Image picture = noise_picture(20, 30, 3);
  picture.data[7] = NAN;
  PrintRun run = marked_run(picture, scale, 1e30);
  run.mottle = 1e30;
  run.reach = 1 << 30;
  run.plates[0].shift_y = INT32_MIN;
  EXPECT_TRUE(is_light(print_run(picture, scale, run, ctx)));
  const std::int32_t stop = 1;
  ctx.cancel = &stop;
  EXPECT_THROW(print_run(picture, scale, run, ctx), Cancelled);
}

// White noise under a Gaussian goes with itself at a distance d as exp(-(d / 2 sigma)^2), whether
// it is drawn pixel by pixel or on cells; two layers in the shares of their squares.
TEST(InkMottle, PatchesHaveTheirSizesInOneFieldOfUnitDeviation) {
  const int side = 900;
  const double coarse_px = 12.0, weight = 0.6;
  for (const double fine_px : {1.2, 1.8, 3.0}) {
    Rng rng = rng_from_key({8});
    const MottleField made =
        mottle_field(side, side, 0.5, 0.5 * fine_px, 0.5 * coarse_px, weight, rng);
    MottleRows at_once(made), going_down(made);
    const float* field = at_once.rows(0, side);
    EXPECT_NEAR(standard_deviation(field, static_cast<std::size_t>(side * side)), 1.0, 1e-5);
    for (const int y : {0, 2, 40, 120, 121, 897, 7})
      EXPECT_TRUE(std::equal(field + y * side, field + (y + 3) * side, going_down.rows(y, 3)));
    for (const int d : {1, 2, 4, 12, 24})
      for (const auto& [dy, dx] : {std::pair(d, 0), {0, d}}) {
        double sum = 0.0;
        for (int y = 0; y + dy < side; ++y)
          for (int x = 0; x + dx < side; ++x)
            sum += field[y * side + x] * field[(y + dy) * side + x + dx];
        const auto expected = [d = d](double sigma) {
          return std::exp(-d * d / (4.0 * sigma * sigma));
        };
        const double both =
            (expected(fine_px) + weight * weight * expected(coarse_px)) / (1.0 + weight * weight);
        EXPECT_NEAR(sum / ((side - dy) * (side - dx)), both, 0.03) << fine_px << " px at " << d;
      }
  }
}

TEST(InkMottle, BarePaperShowsNothingAndASolidTheMost) {
  const std::vector<float> field(300, 2.0f);
  for (const char* name : {"office", "newsprint", "coated", "photo", "art"}) {
    const std::array<float, 3> base = printing_paper(name);
    std::vector<float> bare, inked;
    for (int i = 0; i < 900; ++i) bare.push_back(base[i % 3]), inked.push_back(0.25f * bare[i]);
    std::vector<float> sheet = bare;
    apply_mottle(sheet.data(), 300, 0.1, field.data(), base);
    EXPECT_EQ(sheet, bare) << name;
    apply_mottle((sheet = inked).data(), 300, 0.1, field.data(), base);
    for (std::size_t i = 0; i < sheet.size(); ++i)
      ASSERT_NEAR(sheet[i], static_cast<double>(inked[i]) * (1.0 + std::sqrt(0.75) * 0.2), 1e-6);
  }
}

}  // namespace
}  // namespace morva
