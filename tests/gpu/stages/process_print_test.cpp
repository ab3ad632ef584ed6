// Prints made by hand: every paper of the profile tree and every option that changes what runs, on
// the software GPU and on the CPU, from the same negative.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "gpu/stages/process_print.h"
#include "gpu/stages/software_device.h"
#include "image/random.h"

namespace morva::gpu {
namespace {

constexpr int kWidth = 160, kHeight = 120;

// Skies, edges and noise from clear film to the densest.
Image negative() {
  Image density(kHeight, kWidth, 1);
  Rng rng = rng_from_key({17});
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x) {
      const bool in_patch = (x / 20 + y / 20) % 3 == 0;
      const double slope = 2.6 * x / kWidth - 1.2;
      density.at(y, x) = static_cast<float>(slope + (in_patch ? 0.5 : 0.0) + 0.15 * rng.normal());
    }
  return density;
}

// Nothing on the left, all of the picture on the right.
Image gate() {
  Image mask(kHeight, kWidth, 1);
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x)
      mask.at(y, x) = std::clamp(static_cast<float>(x - 20) / 15.0f, 0.0f, 1.0f);
  return mask;
}

Image gpu_print(const Json& paper, const Json& options, const Image* mask) {
  const Json stock = Json::object();
  RenderContext ctx;
  StageTimes times;
  Device& device = software_device();
  const Frame frame = {device, stock, paper, options, 8.0, nullptr, ctx, times};
  return device.download(print_on_process(frame, device.upload(negative()), mask));
}

void expect_alike(const std::string& name, const Json& paper, const Json& options,
                  const Image* mask = nullptr) {
  RenderContext ctx;
  const Image cpu = print_density_by_process(negative(), paper, options, mask, ctx);
  const Image gpu = gpu_print(paper, options, mask);
  double largest = 0.0, mean = 0.0;  // linear light
  for (std::size_t i = 0; i < cpu.data.size(); ++i) {
    const double one = std::fabs(static_cast<double>(cpu.data[i]) - gpu.data[i]);
    largest = std::isnan(one) ? INFINITY : std::max(largest, one);
    mean += one / static_cast<double>(cpu.data.size());
  }
  std::printf("%-40s differs by %.2g at most, %.2g on the mean\n", name.c_str(), largest, mean);
  EXPECT_LT(largest, 2e-5) << name;
  EXPECT_LT(mean, 2e-6) << name;
}

TEST(GpuProcessPrint, EveryPaperOfTheTreeAgreesWithTheCpu) {
  int papers = 0;
  const Image mask = gate();
  for (const std::string& name : tree().list("papers", true)) {
    const Json paper = tree().load("papers", name);
    if (!truthy(get(paper, "process"))) continue;
    ++papers;
    expect_alike(name, paper, {{"print_px_um", 500.0}, {"seed", 3}});
    expect_alike(name + ", near", paper, {{"print_px_um", 30.0}, {"seed", 4}}, &mask);
  }
  EXPECT_GE(papers, 8);
}

TEST(GpuProcessPrint, EveryOptionAgreesWithTheCpu) {
  const Json paper = Json::parse(R"({"dmin": 0.05, "dmax": 1.4, "gamma": 1.5, "flare": 0.01,
      "process": {"ink_floor": 0.05, "plug": 0.2,
          "texture": {"kind": "wood", "amount": 0.4}, "ink_roller": {"roller": 0.2},
          "transfer": {"pickup": 0.9, "soften_mm": 0.1}, "coat": {"style": "brush"},
          "pigment": {"mode": "ink", "rgb": [0.02, 0.05, 0.1]},
          "relief": {"amount": 0.4, "sheen": 0.03}}})");
  const Image mask = gate();
  for (const char* options :
       {R"({})", R"({"ink_roller": 1, "pickup": 0.5, "relief": 2, "print_texture": 3})",
        R"({"relief": 0, "coat": "rod", "coat_rough": 3, "paper_base": "buff"})",
        R"({"print_black": 0.6, "print_white": 0.4, "print_ev": 0.5, "grade": 4, "coat": false})",
        R"({"_black_probe": true})"})
    expect_alike(options, paper, Json::parse(options), &mask);
  EXPECT_EQ(gpu_print(paper, {{"seed", 8}}, nullptr).data,
            gpu_print(paper, {{"seed", 8}}, nullptr).data);
  const Image wrong(4, 4, 1, 1.0f);
  EXPECT_THROW(gpu_print(paper, Json::object(), &wrong), std::logic_error);
}

}  // namespace
}  // namespace morva::gpu
