// The head's passes and the whole printer against their plain forms, drops that keep the tone, and
// an inkjet's blocks of any content.

#include "repro/inkjet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numbers>
#include <string>
#include <vector>

#include "image/filters.h"
#include "image/resample.h"
#include "print/pictures.h"
#include "profiles/store.h"
#include "repro/blue_noise.h"
#include "repro/dot_gain.h"
#include "repro/head_banding.h"
#include "repro/ink_mottle.h"
#include "repro/inks.h"
#include "repro/separation.h"

namespace morva {
namespace {

// Every seam at every position.
std::vector<double> plain_banding(int n, const HeadBanding& head, Rng rng) {
  const double p = std::max(2.0, head.pass_px);
  const int passes = static_cast<int>((n - 1) / p) + 1;
  std::vector<double> pass, line;
  for (int i = 0; i < passes; ++i) pass.push_back(1.0 + head.pass_deviation * rng.normal());
  for (int k = 0; k < n; ++k) line.push_back(pass[static_cast<std::size_t>(k / p)]);
  for (int s = 1; s < passes; ++s) {
    const double sign = rng.uniform() < 0.5 ? -1.0 : 1.0;
    for (int k = 0; k < n; ++k)
      line[k] *=
          1.0 + head.seam_amp * sign * std::exp(-0.5 * std::pow((k - s * p) / head.seam_px, 2));
  }
  const double phase = rng.uniform(0.0, 6.28);
  for (int k = 0; k < n; ++k)
    line[k] *=
        1.0 + head.ripple_amp * std::sin(k * 2.0 * std::numbers::pi / head.nozzle_px + phase);
  return line;
}

TEST(HeadBanding, IsThePlainFormAndDrawsTheSameWhateverItsStrength) {
  for (const double pass_px : {1e-9, 2.7, 40.0, 333.3, 1e30}) {
    SCOPED_TRACE(pass_px);
    HeadBanding head{pass_px, 0.015, true, 0.08, 1.7, true, 0.006, 13.0};
    Rng rng = rng_from_key({8}), other = rng;
    const std::vector<double> plain = plain_banding(701, head, rng);
    const std::vector<float> line = banding_line(701, head, rng);
    for (std::size_t k = 0; k < line.size(); ++k) ASSERT_NEAR(plain[k], line[k], 3e-7) << k;
    head.pass_deviation = head.seam_amp = head.ripple_amp = 0.0;
    for (const float v : banding_line(701, head, other)) ASSERT_EQ(1.0f, v);
    EXPECT_EQ(rng.next(), other.next());
  }
}

class Inkjet : public ::testing::Test {
 protected:
  ProfileStore store{std::filesystem::path(MORVA_PROFILES_PATH)};  // where the mask is found
  Json paper = {{"repro", "inkjet"}, {"inkjet", {{"mottle", 0.0}, {"psf_um", 0.0}}}};
  Json options = {{"inkjet_banding", 0.0}};

  Image print(const Image& picture, double px_um) {
    Rng rng = rng_from_key({1, 3});
    RenderContext ctx;
    const RasterScale scale = plan_raster_scale(paper, options, picture.h, picture.w, px_um);
    return print_inkjet(picture, paper, options, px_um, scale, rng, ctx);
  }
};

Image ramp(int h, int w, int channels) {
  Image picture(h, w, channels);
  for (std::size_t i = 0; i < picture.data.size(); ++i)
    picture.data[i] = static_cast<float>(i * 7 % 241) / 240.0f;
  return picture;
}

TEST_F(Inkjet, DropsKeepTheTone) {
  for (const float tone : {0.15f, 0.4f, 0.8f}) {
    SCOPED_TRACE(tone);
    const Image gray(400, 300, 1, tone);
    const Image drops = print(gray, 25.0);
    paper["inkjet"]["dither"] = false;
    const Image smooth = print(gray, 25.0);
    paper["inkjet"].erase("dither");
    EXPECT_NEAR(smooth.at(0, 0, 1), tone * printing_paper("office")[1], 0.01);
    EXPECT_EQ(0.0, spread(extract_channel(smooth, 0)));
    EXPECT_NEAR(mean(smooth), mean(drops), 0.03);
    const auto [least, most] = std::minmax_element(drops.data.begin(), drops.data.end());
    EXPECT_GT(*most - *least, 0.4f);
  }
}

Image rolled(const Image& plane, int right, int down) {
  Image out = plane;
  for (int y = 0; y < out.h; ++y)
    for (int x = 0; x < out.w; ++x)
      out.at((y + down + out.h) % out.h, (x + right + out.w) % out.w) = plane.at(y, x);
  return out;
}

// The whole printer on the whole raster, a step after the other, with the numbers of the default
// block. `h` and `w` are below 256 drops and a few passes.
Image plain_inkjet(const Image& picture, double px_um, double up, bool along, Rng& rng) {
  const int h = static_cast<int>(std::nearbyint(picture.h * up));
  const int w = static_cast<int>(std::nearbyint(picture.w * up));
  Image rgb = resize_image(picture, w, h, kResizeBicubic);
  if (const Image gray = rgb; gray.c == 1) {
    rgb = Image(h, w, 3);
    for (int k = 0; k < 3; ++k) store_channel(rgb, k, gray);
  }
  px_um /= up;
  const double q = std::round(75.0 / px_um * 1e6) / 1e6;
  const InkSet& inks = ink_set("inkjet_office");
  const DotGain gain = {0.25, 0.85};
  std::vector<Image> plates(4, Image(h, w, 1));
  std::vector<float*> planes;
  for (Image& plate : plates) planes.push_back(plate.data.data());
  separate(rgb.data.data(), rgb.pixels(), {inks, 0.7, 0.0, gain, 4}, planes.data());
  const HeadBanding head = {
      6000.0 / px_um,       0.015, true, 0.08, std::max(1.0, 45.0 / px_um) * 0.6, true, 0.006,
      0.35 * 1000.0 / px_um};
  const std::vector<float> line = banding_line(along ? h : w, head, rng);
  const int most = static_cast<int>(std::nearbyint(1.0 * 45.0 / px_um));
  for (int ink = 0; ink < 4; ++ink) {
    Image& plate = plates[static_cast<std::size_t>(ink)];
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        plate.at(y, x) =
            std::clamp(line[static_cast<std::size_t>(along ? y : x)] * plate.at(y, x), 0.0f, 1.0f);
    press(plate.data.data(), plate.data.size(), gain);
    if (q >= 1.0) {
      const bool cells = q > 1.05;
      const int oy = static_cast<int>(rng.next() % 256), ox = static_cast<int>(rng.next() % 256);
      for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
          const int gy = cells ? static_cast<int>(y / q) : y;
          const int gx = cells ? static_cast<int>(x / q) : x;
          const float threshold = blue_noise()[(gy + oy) % 256 * 256 + (gx + ox) % 256];
          plate.at(y, x) = plate.at(y, x) >= threshold ? 1.0f : 0.0f;
        }
      if (q >= 2.0) plate = blur_image(plate, 0.15 * q);
    }
    if (ink != kBlack && most >= 1) {
      const auto span = static_cast<std::uint64_t>(2 * most + 1);
      const int right = static_cast<int>(rng.next() % span) - most;
      plate = rolled(plate, right, static_cast<int>(rng.next() % span) - most);
    }
    planes[static_cast<std::size_t>(ink)] = plate.data.data();
  }
  const std::array<float, 3> base = printing_paper("office");
  overprint(planes.data(), inks.data(), 4, base, rgb.pixels(), rgb.data.data());
  if (60.0 / px_um >= 0.3) rgb = blur_image(rgb, 60.0 / px_um);
  const MottleField field = mottle_field(h, w, px_um, 60.0, 900.0, 0.6, rng);
  apply_mottle(rgb.data.data(), rgb.pixels(), 0.04, MottleRows(field).rows(0, h), base);
  for (float& v : rgb.data) v = std::clamp(v, 0.0f, 1.0f);
  return resize_image(rgb, picture.w, picture.h, kResizeBox);
}

TEST_F(Inkjet, IsThePlainPrinterByteForByte) {
  paper["inkjet"] = Json::object();
  options["inkjet_banding"] = 1.0;
  for (const auto& [h, w] : {std::pair(61, 87), {640, 700}})
    for (const int channels : {1, 3})
      for (const double drop_px : {0.7, 1.03, 1.3, 1.4, 2.0, 5.0})
        for (const bool along : {true, false}) {
          if (h > 100 && (channels == 1 || drop_px != 1.4))
            continue;  // several bands, once each way
          SCOPED_TRACE(std::to_string(h) + " " + std::to_string(drop_px));
          const Image picture = ramp(h, w, channels);
          options["inkjet_feed"] = along ? "long" : "wide";
          // On the picture's own pixels, but for a drop that is enlarged to two.
          options["repro_raster"] = drop_px == 1.4 ? "auto" : "off";
          const double up = drop_px == 1.4 ? 2.0 / 1.4 : 1.0;
          Rng rng = rng_from_key({1, 3});
          const Image plain = plain_inkjet(picture, 75.0 / drop_px, up, along, rng);
          EXPECT_EQ(plain.data, print(picture, 75.0 / drop_px).data);
        }
}

}  // namespace
}  // namespace morva
