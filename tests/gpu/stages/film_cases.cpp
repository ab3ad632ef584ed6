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

// Light over twenty stops, some of it black.
Source stops(int channels) {
  return [=](PixelSize size) {
    Image light = noise_picture(size, channels, -4.5f, 1.5f);
    elementary::exp10f(light.data.data(), light.data.data(), light.data.size());
    for (std::size_t i = 0; i < light.data.size(); i += 7) light.data[i] = 0.0f;
    return spoilt(std::move(light));
  };
}

// Densities about mid grey. A veil, of the whole sheet's light, is spoilt by one place.
Source negative(int channels, bool veiled) {
  const Source clean = noise(channels, -0.9f, 2.2f);
  return veiled ? clean : spoilt(clean);
}

// Densities with base and fog, and light of a positive.
const Source kDensity = noise(3, 0.0f, 3.5f), kPositive = noise(3, -0.05f, 1.1f);

// Of uneven development.
const Source kField = noise(1, -0.7f, 0.8f, 5);

const std::array<HdCurve, 3> kNegativeLayers = {make_curve(0.15, 2.9, 0.62, 1.5, 0.85),
                                                make_curve(0.55, 3.0, 0.66, 1.4, 0.85),
                                                make_curve(0.8, 3.3, 0.7, 1.7, 0.8)};
const std::array<HdCurve, 3> kSlideLayers = {make_curve(0.1, 3.3, 1.7, 1.2, kGreyDensity),
                                             make_curve(0.12, 3.5, 1.8, 1.1, kGreyDensity),
                                             make_curve(0.16, 3.2, 1.6, 1.3, kGreyDensity)};
constexpr std::array<float, 9> kMatrix = {1.3f,  -0.2f,  -0.1f, -0.15f, 1.35f,
                                          -0.2f, -0.05f, -0.3f, 1.35f};

DevelopParams negative_params(double saturation) {
  DevelopParams params;
  params.curves = kNegativeLayers;
  params.exposure.ev = 0.7;
  params.saturation = saturation;
  return params;
}

DevelopParams bleach_bypass() {
  DevelopParams params = negative_params(5.0);  // which does not count beside a matrix
  params.exposure.layer_ev = {0.3f, -0.2f, -1.1f};
  params.couplers = kMatrix;
  params.retained_silver = 0.38;
  return params;
}

SlideParams slide_params(double saturation) {
  SlideParams params;
  params.curves = kSlideLayers;
  params.ev = -0.4;
  params.saturation = saturation;
  return params;
}

SlideParams interlayer_slide() {
  SlideParams params = slide_params(0.3);
  params.interlayer = kMatrix;
  return params;
}

// Dyes by `on_gpu` and `on_cpu`, developed evenly or on the field.
template <class Params, class OnGpu, class OnCpu>
KernelCase dyes_case(const char* name, OnGpu on_gpu, OnCpu on_cpu, const Params& params,
                     bool uneven) {
  return stage_case(
      name, kCurveUlp, stops(3),
      [=](Device& device, const GImage& light, const GImage& field) {
        return on_gpu(device, light, uneven ? field : GImage{}, params);
      },
      [=](const Image& light, const Image& field) {
        Params on_field = params;
        if (uneven) on_field.uneven = &field;
        return on_cpu(light, on_field);
      },
      kField);
}

KernelCase silver_case(const char* name, Development development) {
  const DevelopBwParams params = {make_curve(0.25, 2.4, 0.6, 1.6, 0.95), 0.4};
  return stage_case(
      name, kCurveUlp, stops(1), develop_silver,
      [=](Image& light) { expose_layer(light, 0, params.curve, params.ev, development); }, GImage{},
      params, development);
}

KernelCases negative_cases() {
  const auto dyes = [](const char* name, const DevelopParams& params, bool uneven) {
    return dyes_case(name, develop_dyes, morva::develop_dyes, params, uneven);
  };
  const auto reversal = [](const char* name, const SlideParams& params, bool uneven) {
    return dyes_case(name, develop_reversal_dyes, morva::develop_reversal_dyes, params, uneven);
  };
  return {
      dyes("neg_color_main", negative_params(0.0), false),
      dyes("neg_color_main, couplers, silver, uneven", bleach_bypass(), true),
      dyes("neg_color_main, saturated", negative_params(0.3), false),
      reversal("neg_color_main, slide", slide_params(-0.2), false),
      reversal("neg_color_main, slide, interlayer, uneven", interlayer_slide(), true),
      silver_case("neg_bw_main", Development::negative),
      silver_case("neg_bw_main, reversal", Development::reversal),
      stage_case("instant_curves", kCurveUlp, stops(3), transfer_dyes, morva::transfer_dyes,
                 InstantParams{kSlideLayers, 0.2, std::nullopt, 0.0}),
      stage_case("instant_curves, crosstalk, narrowed", kCurveUlp, stops(3), transfer_dyes,
                 morva::transfer_dyes, InstantParams{kSlideLayers, 0.2, kMatrix, -0.15}),
  };
}

const Json kFullLook = {{"dye_fade", {0.1, 0.35, 0.6}},
                        {"shadow_tint", {0.02, 0.0, 0.08}},
                        {"highlight_tint", {0.05, 0.02, -0.06}},
                        {"saturation", -0.25},
                        {"green_mute", 0.4}};

PrintParams paper_params(double flare, const Json& look) {
  const Json paper = {{"dmin", 0.07}, {"dmax", 2.3},    {"gamma", 1.9},
                      {"toe", 1.2},   {"flare", flare}, {"tone", {1.0, 0.97, 0.9}}};
  return print_params_color(
      {{"look", look}}, paper,
      {{"grade", 3.0}, {"print_ev", -0.3}, {"print_white", 0.6}, {"print_black", 0.8}});
}

KernelCase color_paper_case(const char* name, double bound_ulp, const PrintParams& params) {
  return stage_case(
      name, bound_ulp, negative(3, params.flare > 0.0),
      [=](Device& device, const GImage& layers) {
        return expose_color_paper(device, params, layers);
      },
      [=](const Image& layers) {
        RenderContext ctx;
        return print_color(params, {layers, {}}, ctx);
      });
}

KernelCase bw_paper_case(const char* name, const PrintParams& params) {
  return stage_case(
      name, kPowersUlp, negative(1, params.flare > 0.0),
      [=](Device& device, const GImage& plane) { return expose_bw_paper(device, params, plane); },
      [=](const Image& plane) {
        RenderContext ctx;
        return print_bw(params, {plane, {}}, ctx);
      });
}

KernelCase direct_paper_case(const char* name, double dye_purity) {
  constexpr std::array<float, 3> tone = {1.0f, 0.98f, 0.95f};
  const ReversalPrintParams paper = {paper_curve(Json::object(), 2.0, 0.5, 0.5), 0.25, dye_purity};
  return stage_case(
      name, kPowersUlp, kPositive, print_transmission,
      [=](Image& slide) {
        morva::print_transmission(slide, paper);
        apply_tone(slide, tone);
      },
      paper, std::optional(tone));
}

KernelCases print_cases() {
  const PrintParams plain = paper_params(0.0, Json::object());
  return {
      with_relative_bound(bound_on(4e-6, 2e-5),
                          color_paper_case("print_color_main", kPowersUlp, plain)),
      color_paper_case("print_color_main, flare, look", 2.0 * kPowersUlp,
                       paper_params(0.02, kFullLook)),
      bw_paper_case("print_bw_main", plain),
      bw_paper_case("print_bw_main, flare", paper_params(0.02, Json::object())),
      direct_paper_case("slide_print", 0.0),
      direct_paper_case("slide_print, purer dyes", 0.3),
  };
}

KernelCase look_case(const char* name, const Json& look) {
  return stage_case(
      name, kPowersUlp, kDensity, show_dyes,
      [=](Image& layers) {
        shine_through(layers, 0.12f);
        apply_look(layers, look);
        clamp_to_sheet(layers);
      },
      0.12f, look_params(look));
}

KernelCase silver_sheet_case() {
  const HdCurve curve = make_curve(0.1, 1.8, 1.7, 1.4, kGreyDensity);
  const Json film = {{"image_tone", {1.0, 0.96, 0.88}}, {"look", kFullLook}};
  return stage_case(
      "mono_positive", kPowersUlp, noise(1, 0.0f, 3.5f), show_silver,
      [=](const Image& silver) {
        Rng rng = rng_from_key({1});
        return silver_sheet(silver, curve, film, {{"grain_mult", 0.0}}, rng);
      },
      white_of_silver(film, curve), image_tone(film), look_params(film["look"]));
}

KernelCase scan_case(const char* name, double bound_ulp, const Json& scan, const Json& options) {
  return stage_case(name, bound_ulp, kPositive, scan_positive, morva::scan_positive,
                    Json{{"scan", scan}}, options);
}

KernelCase scan_file_case(const char* name, double bound_ulp, const Json& scan) {
  return stage_case(name, bound_ulp, kPositive, scan_finish, morva::scan_finish,
                    Json{{"scan", scan}});
}

KernelCases positive_cases() {
  return {
      with_relative_bound(bound_on(3e-6, 2e-5), look_case("positive_look, none", Json::object())),
      look_case("positive_look", kFullLook),
      silver_sheet_case(),
      scan_case("scan_positive, nothing", 0.0, Json::object(), Json::object()),
      scan_case("scan_positive", kPowersUlp,
                {{"flare", 0.01}, {"positive_dmax", 3.2}, {"positive_gamma", 1.2}},
                {{"print_ev", 0.5}, {"grade", 3.0}, {"print_black", 0.7}, {"print_white", 0.4}}),
      scan_file_case("sharpen", 4.0, {{"sharpen", 0.8}, {"sharpen_frac", 0.01}}),
      scan_file_case("scan_clip", 0.0, {{"highlight_clip", 0.3}}),
  };
}

// The halo of one plane on a picture, as halation adds it.
KernelCase halo_case(const char* name, std::size_t channels) {
  constexpr std::array<float, 3> tint = {1.0f, 0.3f, 0.08f};
  return stage_case(
      name, 0.0, stops(static_cast<int>(channels)), add_halo,
      [=](Image& light, const Image& halo, float strength, const auto&) {
        for (std::size_t i = 0; i < light.data.size(); ++i)
          light.data[i] += strength * halo.data[i / channels] * tint[i % channels];
      },
      noise(1, 0.0f, 3.0f, 2), 0.13f, tint);
}

KernelCase edge_case(const char* name, double sat) {
  const Json film = {{"_adjacency", 0.4}, {"_adjacency_um", 30.0}, {"_adjacency_sat", sat}};
  constexpr double px_um = 20.0;
  return stage_case(
      name, 4.0, kDensity,
      [=](Device& device, const GImage& layers) {
        for (const AdjacencyTerm& term : adjacency_terms(film, px_um))
          add_edge_effect(device, layers, blur_image(device, layers, term.sigma_px), term);
      },
      [=](const Image& layers) { return morva::adjacency(layers, film, px_um); });
}

}  // namespace

KernelCases film_cases() {
  return all_of(
      {negative_cases(),
       print_cases(),
       positive_cases(),
       {halo_case("hal_add", 3), halo_case("hal_add, silver", 1),
        edge_case("unsharp, saturating", 0.3), edge_case("unsharp, without bound", 6.0)}});
}

}  // namespace morva::gpu
