#include "optics/camera_filters.h"

#include <optional>
#include <string>
#include <utility>

#include "optics/cut_filter.h"
#include "optics/diffusion_filter.h"
#include "optics/graduated_filter.h"
#include "optics/star_filter.h"

namespace morva {

namespace {

Json load_filter(const ProfileStore& store, const std::string& name) {
  return store.load("filters", name);
}

double common_amount(const Json& opts) {
  return get_number(opts, "filter_amount", 1.0);
}

double own_amount(const Json& opts, const char* key) {
  return has(opts, key) ? get_number(opts, key, 1.0) : common_amount(opts);
}

}  // namespace

FrontFilters front_filters(const Json& opts, const ProfileStore& store) {
  FrontFilters filters;
  if (const auto name = get_optional_text(opts, "filter_grad")) {
    filters.graduated = load_filter(store, *name);
    filters.graduated_angle_deg = get_number(opts, "grad_angle", 0.0);
    filters.graduated_position = get_number(opts, "grad_pos", 0.0);
  }
  if (const auto name = get_optional_text(opts, "filter_rays")) {
    filters.star = load_filter(store, *name);
    filters.star_angle_deg = get_number(opts, "rays_angle", 0.0);
  }
  return filters;
}

RearFilters rear_filters(const Json& opts, const ProfileStore& store) {
  RearFilters filters;
  const std::string cut = get_text_or(opts, "filter_cut", "");
  const std::string diffusion = get_text_or(opts, "filter_diffusion", "");
  if (!cut.empty()) filters.cut = {load_filter(store, cut), own_amount(opts, "filter_cut_amount")};
  if (!diffusion.empty())
    filters.diffusion = {load_filter(store, diffusion),
                         own_amount(opts, "filter_diffusion_amount")};
  if (filters.cut || filters.diffusion) return filters;

  const auto either = get_optional_text(opts, "filter");
  if (!either) return filters;
  RearFilter filter = {load_filter(store, *either), common_amount(opts)};
  const bool colours = get_text_or(filter.profile, "type", "") == "cut";
  (colours ? filters.cut : filters.diffusion) = std::move(filter);
  return filters;
}

Image apply_front_filters(Image image, const Json& opts, const ProfileStore& store) {
  const FrontFilters filters = front_filters(opts, store);
  if (filters.graduated)
    image = apply_graduated_filter(std::move(image), *filters.graduated,
                                   filters.graduated_angle_deg, filters.graduated_position);
  if (filters.star)
    image = apply_star_filter(std::move(image), *filters.star, filters.star_angle_deg);
  return image;
}

Image apply_filters(Image image, const Json& film, const Json& opts, const ProfileStore& store) {
  const RearFilters filters = rear_filters(opts, store);
  if (filters.cut)
    image = apply_cut_filter(std::move(image), filters.cut->profile, film, filters.cut->amount);
  if (filters.diffusion)
    image = apply_diffusion_filter(std::move(image), filters.diffusion->profile,
                                   filters.diffusion->amount);
  return image;
}

}  // namespace morva
