// The one straight walk from a linear picture to the finished sheet. It says when each stage runs,
// what it is handed and what comes back; how a stage works stands in the stage.
#pragma once

#include <string>

#include "image/image.h"
#include "image/render_context.h"
#include "profiles/json_access.h"
#include "profiles/store.h"

namespace morva {

// Looks the profiles up and renders. An empty `paper_name` means the film's own paper. Throws
// ProfileError for a name that is not there.
Image render_named(const ProfileStore& store, Image&& input, const std::string& film_name,
                   const std::string& lens_name, const std::string& paper_name, const Json& options,
                   RenderContext& ctx);

// `input` is H x W x 3, scene-linear. The CPU uses it up; a GPU, which can be lost and the render
// begin again, leaves it as it is. `options` are the host's, as parsed. Returns the sheet: linear
// reflectance, three channels.
Image process(const ProfileStore& store, Image&& input, const Json& film, const Json& lens,
              const Json& paper, const Json& options, RenderContext& ctx);

// The paper of that name, or the film's own where it is empty, with the film's tube where the paper
// has none.
Json load_positive(const ProfileStore& store, const Json& film, const std::string& paper_name);

}  // namespace morva
