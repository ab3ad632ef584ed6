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

struct RearFilter {
  Json profile;
  double amount;
};

struct RearFilters {
  std::optional<RearFilter> cut;
  std::optional<RearFilter> diffusion;
};

Json load_filter(const ProfileStore& store, const std::string& name) {
  return store.load("filters", name);
}

double common_amount(const Json& opts) {
  return get_number(opts, "filter_amount", 1.0);
}

double own_amount(const Json& opts, const char* key) {
  return has(opts, key) ? get_number(opts, key, 1.0) : common_amount(opts);
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

}  // namespace

Image apply_front_filters(Image image, const Json& opts, const ProfileStore& store) {
  if (const auto name = get_optional_text(opts, "filter_grad"))
    image = apply_graduated_filter(std::move(image), load_filter(store, *name),
                                   get_number(opts, "grad_angle", 0.0),
                                   get_number(opts, "grad_pos", 0.0));
  if (const auto name = get_optional_text(opts, "filter_rays"))
    image = apply_star_filter(std::move(image), load_filter(store, *name),
                              get_number(opts, "rays_angle", 0.0));
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
