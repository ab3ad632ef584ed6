// The filters of the camera: a graduated and a star filter before the lens, a colour and a
// diffusion filter behind it. Options name them; their profiles come from the section "filters" of
// the store.
#pragma once

#include <optional>

#include "image/image.h"
#include "profiles/json_access.h"
#include "profiles/store.h"

namespace morva {

// What stands before the lens: profiles, and what the options say of them.
struct FrontFilters {
  std::optional<Json> graduated;
  double graduated_angle_deg = 0.0;
  double graduated_position = 0.0;  // half long sides
  std::optional<Json> star;
  double star_angle_deg = 0.0;
};

// What stands behind it.
struct RearFilter {
  Json profile;
  double amount;
};

struct RearFilters {
  std::optional<RearFilter> cut;
  std::optional<RearFilter> diffusion;
};

// These throw ProfileError for a name that the store lacks.
FrontFilters front_filters(const Json& opts, const ProfileStore& store);
RearFilters rear_filters(const Json& opts, const ProfileStore& store);

// The graduated filter (`filter_grad`, `grad_angle`, `grad_pos`), then the star filter
// (`filter_rays`, `rays_angle`). Scene-linear RGB in and out. Throws as above.
Image apply_front_filters(Image image, const Json& opts, const ProfileStore& store);

// The colour filter (`filter_cut`), then the diffusion filter (`filter_diffusion`), each with its
// own amount, or `filter_amount` where it has none. Where neither is named, `filter` names one of
// either kind; it takes `filter_amount`. Throws as above.
Image apply_filters(Image image, const Json& film, const Json& opts, const ProfileStore& store);

}  // namespace morva
