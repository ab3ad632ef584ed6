#include "film/look.h"
#include "gpu/stages/bw_print.h"
#include "gpu/stages/color_print.h"
#include "gpu/stages/develop_bw.h"
#include "gpu/stages/develop_color.h"
#include "gpu/stages/emulsion.h"
#include "gpu/stages/filters.h"
#include "gpu/stages/instant_positive.h"
#include "gpu/stages/kernel_case.h"
#include "gpu/stages/positive.h"
#include "gpu/stages/scan.h"
#include "gpu/stages/slide.h"
#include "image/elementary.h"
#include "print/color_print.h"

namespace morva::gpu {

namespace {

// A curve takes a logarithm and a power twice, a positive once more of each. Measured in software:
// 4 and 5. On a card a logarithm is off by up to 3 ulp, and the power of a steep one by 3 + 2|x|.
const double kCurveUlp = bound_on(8.0, 64.0);
const double kPowersUlp = bound_on(10.0, 96.0);

using OnGpu = std::function<GImage(Device&, const GImage&)>;
using OnCpu = std::function<Image(Image)>;

// The same source through a kernel and through the CPU's stage.
KernelCase one_case(const char* name, Kernel kernel, double bound_ulp,
                    const std::function<Image(PixelSize)>& source, const OnGpu& on_gpu,
                    const OnCpu& on_cpu) {
  return {name, {kernel}, bound_ulp, [=](Device& device, PixelSize size) {
            const Image from = source(size);
            return Compared{device.download(on_gpu(device, device.upload(from))).data,
                            on_cpu(from).data};
          }};
}

// Light over twenty stops, some of it black.
Image stops(PixelSize size, int channels) {
  Image light = noise_picture(size, channels, -4.5f, 1.5f);
  elementary::exp10f(light.data.data(), light.data.data(), light.data.size());
  for (std::size_t i = 0; i < light.data.size(); i += 7) light.data[i] = 0.0f;
  return spoilt(std::move(light));
}
Image scene(PixelSize size) {
  return stops(size, 3);
}
Image silver_light(PixelSize size) {
  return stops(size, 1);
}
// Densities about mid grey, and with base and fog.
Image clean_negative(PixelSize size) {
  return noise_picture(size, 3, -0.9f, 2.2f);
}
Image clean_silver_negative(PixelSize size) {
  return noise_picture(size, 1, -0.9f, 2.2f);
}
// A veil, of the whole sheet's light, is spoilt by one place.
Image negative(PixelSize size) {
  return spoilt(clean_negative(size));
}
Image silver_negative(PixelSize size) {
  return spoilt(clean_silver_negative(size));
}
Image density(PixelSize size) {
  return noise_picture(size, 3, 0.0f, 3.5f);
}
Image silver_density(PixelSize size) {
  return noise_picture(size, 1, 0.0f, 3.5f);
}
Image positive(PixelSize size) {
  return noise_picture(size, 3, -0.05f, 1.1f);
}

GImage field_on_gpu(Device& device, const GImage& picture) {
  return device.upload(noise_picture({picture.width, picture.height}, 1, -0.7f, 0.8f, 5));
}
Image field_of(const Image& picture) {
  return noise_picture({picture.w, picture.h}, 1, -0.7f, 0.8f, 5);
}

const std::array<HdCurve, 3> kNegativeLayers = {make_curve(0.15, 2.9, 0.62, 1.5, 0.85),
                                                make_curve(0.55, 3.0, 0.66, 1.4, 0.85),
                                                make_curve(0.8, 3.3, 0.7, 1.7, 0.8)};
const std::array<HdCurve, 3> kSlideLayers = {make_curve(0.1, 3.3, 1.7, 1.2, kGreyDensity),
                                             make_curve(0.12, 3.5, 1.8, 1.1, kGreyDensity),
                                             make_curve(0.16, 3.2, 1.6, 1.3, kGreyDensity)};
constexpr std::array<float, 9> kMatrix = {1.3f,  -0.2f,  -0.1f, -0.15f, 1.35f,
                                          -0.2f, -0.05f, -0.3f, 1.35f};

DevelopParams negative_params() {
  DevelopParams params;
  params.curves = kNegativeLayers;
  params.exposure.ev = 0.7;
  return params;
}

DevelopParams bleach_bypass() {
  DevelopParams params = negative_params();
  params.exposure.layer_ev = {0.3f, -0.2f, -1.1f};
  params.couplers = kMatrix;
  params.saturation = 5.0;  // does not count beside a matrix
  params.retained_silver = 0.38;
  return params;
}

KernelCase dyes_case(const char* name, DevelopParams params, bool uneven) {
  return one_case(
      name, Kernel::neg_color_main, kCurveUlp, scene,
      [=](Device& device, const GImage& light) {
        return develop_dyes(device, light, uneven ? field_on_gpu(device, light) : GImage{}, params);
      },
      [=](Image light) {
        DevelopParams on_field = params;
        const Image field = field_of(light);
        if (uneven) on_field.uneven = &field;
        return develop_dyes(std::move(light), on_field);
      });
}

KernelCase reversal_case(const char* name, bool interlayer, double saturation, bool uneven) {
  SlideParams params;
  params.curves = kSlideLayers;
  params.ev = -0.4;
  params.saturation = saturation;
  if (interlayer) params.interlayer = kMatrix;
  return one_case(
      name, Kernel::neg_color_main, kCurveUlp, scene,
      [=](Device& device, const GImage& light) {
        return develop_reversal_dyes(device, light, uneven ? field_on_gpu(device, light) : GImage{},
                                     params);
      },
      [=](Image light) {
        SlideParams on_field = params;
        const Image field = field_of(light);
        if (uneven) on_field.uneven = &field;
        return develop_reversal_dyes(std::move(light), on_field);
      });
}

KernelCase silver_case(const char* name, Development development) {
  const DevelopBwParams params = {make_curve(0.25, 2.4, 0.6, 1.6, 0.95), 0.4};
  return one_case(
      name, Kernel::neg_bw_main, kCurveUlp, silver_light,
      [=](Device& device, const GImage& light) {
        return develop_silver(device, light, {}, params, development);
      },
      [=](Image light) {
        expose_layer(light, 0, params.curve, params.ev, development);
        return light;
      });
}

std::vector<KernelCase> negative_cases() {
  DevelopParams saturated = negative_params();
  saturated.saturation = 0.3;
  return {
      dyes_case("neg_color_main", negative_params(), false),
      dyes_case("neg_color_main, couplers, silver, uneven", bleach_bypass(), true),
      dyes_case("neg_color_main, saturated", saturated, false),
      reversal_case("neg_color_main, slide", false, -0.2, false),
      reversal_case("neg_color_main, slide, interlayer, uneven", true, 0.3, true),
      silver_case("neg_bw_main", Development::negative),
      silver_case("neg_bw_main, reversal", Development::reversal),
      one_case(
          "instant_curves", Kernel::instant_curves, kCurveUlp, scene,
          [](Device& device, const GImage& light) {
            return transfer_dyes(device, light, {kSlideLayers, 0.2, std::nullopt, 0.0});
          },
          [](Image light) {
            return transfer_dyes(std::move(light), {kSlideLayers, 0.2, std::nullopt, 0.0});
          }),
      one_case(
          "instant_curves, crosstalk, narrowed", Kernel::instant_curves, kCurveUlp, scene,
          [](Device& device, const GImage& light) {
            return transfer_dyes(device, light, {kSlideLayers, 0.2, kMatrix, -0.15});
          },
          [](Image light) {
            return transfer_dyes(std::move(light), {kSlideLayers, 0.2, kMatrix, -0.15});
          }),
  };
}

Json full_look() {
  return {{"dye_fade", {0.1, 0.35, 0.6}},
          {"shadow_tint", {0.02, 0.0, 0.08}},
          {"highlight_tint", {0.05, 0.02, -0.06}},
          {"saturation", -0.25},
          {"green_mute", 0.4}};
}

PrintParams paper_params(double flare, const Json& look) {
  const Json paper = {{"dmin", 0.07}, {"dmax", 2.3},    {"gamma", 1.9},
                      {"toe", 1.2},   {"flare", flare}, {"tone", {1.0, 0.97, 0.9}}};
  return print_params_color(
      {{"look", look}}, paper,
      {{"grade", 3.0}, {"print_ev", -0.3}, {"print_white", 0.6}, {"print_black", 0.8}});
}

KernelCase color_paper_case(const char* name, double bound_ulp, const PrintParams& params) {
  return one_case(
      name, Kernel::print_color_main, bound_ulp, params.flare > 0.0 ? clean_negative : negative,
      [=](Device& device, const GImage& layers) {
        return expose_color_paper(device, params, layers);
      },
      [=](Image layers) {
        RenderContext ctx;
        return print_color(params, {std::move(layers), {}}, ctx);
      });
}

KernelCase bw_paper_case(const char* name, const PrintParams& params) {
  return one_case(
      name, Kernel::print_bw_main, kPowersUlp,
      params.flare > 0.0 ? clean_silver_negative : silver_negative,
      [=](Device& device, const GImage& plane) { return expose_bw_paper(device, params, plane); },
      [=](Image plane) {
        RenderContext ctx;
        return print_bw(params, {std::move(plane), {}}, ctx);
      });
}

ReversalPrintParams direct_paper(double dye_purity) {
  return {paper_curve(Json::object(), 2.0, 0.5, 0.5), 0.25, dye_purity};
}

KernelCase direct_paper_case(const char* name, double dye_purity) {
  constexpr std::array<float, 3> tone = {1.0f, 0.98f, 0.95f};
  return one_case(
      name, Kernel::slide_print, kPowersUlp, positive,
      [=](Device& device, const GImage& slide) {
        return print_transmission(device, slide, direct_paper(dye_purity), tone);
      },
      [=](Image slide) {
        print_transmission(slide, direct_paper(dye_purity));
        apply_tone(slide, tone);
        return slide;
      });
}

std::vector<KernelCase> print_cases() {
  return {
      with_relative_bound(
          bound_on(4e-6, 2e-5),
          color_paper_case("print_color_main", kPowersUlp, paper_params(0.0, Json::object()))),
      color_paper_case("print_color_main, flare, look", 2.0 * kPowersUlp,
                       paper_params(0.02, full_look())),
      bw_paper_case("print_bw_main", paper_params(0.0, Json::object())),
      bw_paper_case("print_bw_main, flare", paper_params(0.02, Json::object())),
      direct_paper_case("slide_print", 0.0),
      direct_paper_case("slide_print, purer dyes", 0.3),
  };
}

KernelCase look_case(const char* name, const Json& look) {
  return one_case(
      name, Kernel::positive_look, kPowersUlp, density,
      [=](Device& device, const GImage& layers) {
        return show_dyes(device, layers, 0.12f, look_params(look));
      },
      [=](Image layers) {
        shine_through(layers, 0.12f);
        apply_look(layers, look);
        clamp_to_sheet(layers);
        return layers;
      });
}

KernelCase silver_sheet_case() {
  const HdCurve curve = make_curve(0.1, 1.8, 1.7, 1.4, kGreyDensity);
  const Json film = {{"image_tone", {1.0, 0.96, 0.88}}, {"look", full_look()}};
  return one_case(
      "mono_positive", Kernel::mono_positive, kPowersUlp, silver_density,
      [=](Device& device, const GImage& silver) {
        return show_silver(device, silver, white_of_silver(film, curve), image_tone(film),
                           look_params(film["look"]));
      },
      [=](Image silver) {
        Rng rng = rng_from_key({1});
        return silver_sheet(std::move(silver), curve, film, {{"grain_mult", 0.0}}, rng);
      });
}

KernelCase scan_case(const char* name, double bound_ulp, const Json& scan, const Json& options) {
  const Json paper = {{"scan", scan}};
  return one_case(
      name, Kernel::scan_positive, bound_ulp, positive,
      [=](Device& device, const GImage& slide) {
        return scan_positive(device, slide, paper, options);
      },
      [=](Image slide) { return scan_positive(std::move(slide), paper, options); });
}

KernelCase scan_file_case(const char* name, Kernel kernel, double bound_ulp, const Json& scan) {
  const Json paper = {{"scan", scan}};
  return one_case(
      name, kernel, bound_ulp, positive,
      [=](Device& device, const GImage& slide) { return scan_finish(device, slide, paper); },
      [=](Image slide) { return scan_finish(std::move(slide), paper); });
}

std::vector<KernelCase> positive_cases() {
  return {
      with_relative_bound(bound_on(3e-6, 2e-5), look_case("positive_look, none", Json::object())),
      look_case("positive_look", full_look()),
      silver_sheet_case(),
      scan_case("scan_positive, nothing", 0.0, Json::object(), Json::object()),
      scan_case("scan_positive", kPowersUlp,
                {{"flare", 0.01}, {"positive_dmax", 3.2}, {"positive_gamma", 1.2}},
                {{"print_ev", 0.5}, {"grade", 3.0}, {"print_black", 0.7}, {"print_white", 0.4}}),
      scan_file_case("sharpen", Kernel::sharpen, 4.0, {{"sharpen", 0.8}, {"sharpen_frac", 0.01}}),
      scan_file_case("scan_clip", Kernel::scan_clip, 0.0, {{"highlight_clip", 0.3}}),
  };
}

// The halo of one plane on a picture, as halation adds it.
Compared halo_on(Device& device, PixelSize size, int channels) {
  constexpr std::array<float, 3> tint = {1.0f, 0.3f, 0.08f};
  const float strength = 0.13f;
  Image cpu = stops(size, channels);
  const Image halo = noise_picture(size, 1, 0.0f, 3.0f, 2);
  const GImage gpu = device.upload(cpu);
  add_halo(device, gpu, device.upload(halo), strength, tint);
  for (std::size_t i = 0; i < cpu.data.size(); ++i) {
    const std::size_t pixel = i / static_cast<std::size_t>(channels);
    cpu.data[i] += strength * halo.data[pixel] * tint[i % static_cast<std::size_t>(channels)];
  }
  return {device.download(gpu).data, cpu.data};
}

KernelCase edge_case(const char* name, double sat) {
  const Json film = {{"_adjacency", 0.4}, {"_adjacency_um", 30.0}, {"_adjacency_sat", sat}};
  constexpr double px_um = 20.0;
  return one_case(
      name, Kernel::unsharp, 4.0, density,
      [=](Device& device, const GImage& layers) {
        for (const AdjacencyTerm& term : adjacency_terms(film, px_um))
          add_edge_effect(device, layers, blur_image(device, layers, term.sigma_px), term);
        return layers;
      },
      [=](Image layers) { return adjacency(std::move(layers), film, px_um); });
}

std::vector<KernelCase> emulsion_cases() {
  return {
      {"hal_add",
       {Kernel::hal_add},
       0.0,
       [](Device& device, PixelSize size) { return halo_on(device, size, 3); }},
      {"hal_add, silver",
       {Kernel::hal_add},
       0.0,
       [](Device& device, PixelSize size) { return halo_on(device, size, 1); }},
      edge_case("unsharp, saturating", 0.3),
      edge_case("unsharp, without bound", 6.0),
  };
}

}  // namespace

std::vector<KernelCase> film_cases() {
  std::vector<KernelCase> all;
  for (const auto& family : {negative_cases(), print_cases(), positive_cases(), emulsion_cases()})
    for (const KernelCase& one : family) all.push_back(one);
  return all;
}

}  // namespace morva::gpu
