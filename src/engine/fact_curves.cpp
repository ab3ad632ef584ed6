#include "engine/fact_curves.h"

#include <array>
#include <string>
#include <vector>

#include "film/develop_bw.h"
#include "film/develop_color.h"
#include "flow/develop_print.h"
#include "plates/tricolor.h"
#include "print/bw_print.h"
#include "print/instant_positive.h"
#include "print/paper.h"
#include "print/reversal_print.h"
#include "print/slide.h"
#include "profiles/film.h"

namespace morva {

namespace {

constexpr int kCurvePoints = 65;
constexpr double kFirstExposure = -3.0;
constexpr double kExposureStep = 0.09375;  // exact in binary

double curve_exposure(int i) {
  return kFirstExposure + kExposureStep * i;
}

std::string type_of(const Json& stock) {
  return get_text_or(stock, "type", "");
}

// Where light makes density, and where it takes it away.
std::vector<double> rising(const HdCurve& curve) {
  std::vector<double> densities(kCurvePoints);
  for (int i = 0; i < kCurvePoints; ++i) densities[i] = curve.density(curve_exposure(i));
  return densities;
}

std::vector<double> falling(const HdCurve& curve) {
  std::vector<double> densities(kCurvePoints);
  for (int i = 0; i < kCurvePoints; ++i) densities[i] = curve.density(-curve_exposure(i));
  return densities;
}

template <class Sample>
Json of_layers(const std::array<HdCurve, 3>& curves, const Sample& sample) {
  return Json::array({sample(curves[0]), sample(curves[1]), sample(curves[2])});
}

// A wedge of all the exposures, developed as pixels are.
Image wedge_of(const HdCurve& curve, float direction) {
  Image wedge(1, kCurvePoints, 1);
  for (int i = 0; i < kCurvePoints; ++i)
    wedge.at(0, i) = direction * static_cast<float>(curve_exposure(i));
  curve.density(wedge.data.data(), wedge.data.data(), wedge.data.size());
  return wedge;
}

// The negative under the enlarger, relative to its mid grey.
Image wedge_relative_to_mid(const HdCurve& curve) {
  Image wedge = wedge_of(curve, 1.0f);
  const auto mid = static_cast<float>(curve.dmid);
  for (float& density : wedge.data) density -= mid;
  return wedge;
}

Image wedge_relative_to_mid(const std::array<HdCurve, 3>& curves) {
  Image wedge(1, kCurvePoints, 3);
  for (int k = 0; k < 3; ++k) store_channel(wedge, k, wedge_relative_to_mid(curves[k]));
  return wedge;
}

// As the print sees that negative: a paper that sees but grey takes three layers as one.
Image wedge_on_paper(const Json& stock, const Json& paper, const Json& opts) {
  const std::string type = type_of(stock);
  if (type == "bw" || type == "collodion") return wedge_relative_to_mid(silver_curve(stock, opts));
  Image wedge = wedge_relative_to_mid(develop_params(stock, opts, nullptr).curves);
  const bool sees_grey =
      prints_by_process(type, paper) || get_text_or(paper, "type", "").starts_with("bw");
  return sees_grey ? density_on_paper(wedge, paper) : wedge;
}

// One channel as an array, three as an array of three.
Json channels(const Image& wedge) {
  Json all = Json::array();
  for (int k = 0; k < wedge.c; ++k) all.push_back(extract_channel(wedge, k).data);
  return wedge.c == 1 ? Json(all[0]) : all;
}

std::vector<float> under_slide(const ReversalPrintParams& print, const HdCurve& layer,
                               float clear) {
  std::vector<float> densities = wedge_of(layer, -1.0f).data;
  for (float& density : densities) {
    const double light = static_cast<double>(clear - density);
    density = static_cast<float>(density_under_slide(print, light));
  }
  soften_ends(print.curve, densities.data(), densities.size());
  return densities;
}

// A plate and the positive that is made of it in contact.
void add_plates(Json& curves, const TricolorParams& params) {
  curves["plate"] = rising(params.negative);
  Image positive = wedge_of(params.negative, 1.0f);
  expose_in_contact(positive, params);
  curves["plateAndPositive"] = positive.data;
}

void add_wet_plate(Json& curves, const Json& stock, const Json& opts) {
  curves["plate"] = rising(silver_curve(stock, Json::object()));
  if (!(get_number(opts, "intensify", 0.0) > 0.0)) return;
  const HdCurve thickened = silver_curve(stock, opts);
  curves["plateAndIntensify"] = rising(thickened);
  curves["dmax_intensified"] = thickened.dmax;
}

std::array<HdCurve, 3> pack_curves(const Json& stock, const Json& opts) {
  if (!is_mono_instant(stock)) return instant_params(stock, opts).curves;
  const HdCurve silver = instant_curve(stock.at("layers").at("g"));
  return {silver, silver, silver};
}

}  // namespace

Json film_curves(const Json& stock, const Json& opts) {
  constexpr double any_px_um = 1.0;  // no curve depends on it
  const std::string type = type_of(stock);
  Json curves = Json::object();
  if (type == "collodion")
    add_wet_plate(curves, stock, opts);
  else if (type == "tricolor")
    add_plates(curves, tricolor_params(stock, opts, any_px_um));
  else if (type == "bw")
    curves["negativeCurve"] = rising(silver_curve(stock, opts));
  else if (type == "slide")
    curves["positiveRGB"] = of_layers(slide_params(stock, opts, nullptr).curves, falling);
  else if (type == "instant")
    curves["positiveRGB"] = of_layers(pack_curves(stock, opts), falling);
  else
    curves["layersRGB"] = of_layers(develop_params(stock, opts, nullptr).curves, rising);
  return curves;
}

Json paper_densities(const Json& stock, const Json& paper, const Json& opts) {
  const PrintParams print = print_params_bw(paper, opts);
  const float direction = type_of(stock) == "slide" ? 1.0f : -1.0f;  // of its reversal paper
  std::vector<float> densities(kCurvePoints);
  for (int i = 0; i < kCurvePoints; ++i)
    densities[i] = direction * static_cast<float>(curve_exposure(i));
  paper_density(print.curve, densities.data(), densities.data(), densities.size(), 0.0, 0.0);
  return densities;
}

Json densities_through_film(const Json& stock, const Json& paper, const Json& opts) {
  if (type_of(stock) == "slide") {
    const SlideParams slide = slide_params(stock, opts, nullptr);
    const ReversalPrintParams print = reversal_print_params(paper, opts);
    return of_layers(slide.curves,
                     [&](const HdCurve& layer) { return under_slide(print, layer, slide.clear); });
  }
  Image wedge = wedge_on_paper(stock, paper, opts);
  const PrintParams print = print_params_bw(paper, opts);
  paper_density(print.curve, wedge.data.data(), wedge.data.data(), wedge.data.size(),
                print.print_ev, 0.0);
  return channels(wedge);
}

}  // namespace morva
