// The grain of a developed density, by the engine that the options choose: `grain_engine` "growth"
// where the film's format is known, otherwise the classic one.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "image/image.h"
#include "image/random.h"
#include "image/render_context.h"
#include "profiles/hd_curve.h"
#include "profiles/json_access.h"

namespace morva {

// Density with base and fog in and out; `px_um` is a pixel's size on the film. Options read:
// `grain_engine`, `grain_mult`, `grain_size_mult`, `grain_rms`, `seed`, `seed_variants`,
// `_format_long_um`, `_growth_seed`. May throw Cancelled. The growth engine draws by growth_key,
// the classic one by the film stream's [seed, stream, variant]. A `plate` is one of a set that
// shares a picture: its number ends that key, whichever it is, so that its grain is its own.
Image add_grain(Image density, const Json& film, const Json& options, double px_um,
                const HdCurve& curve, const RenderContext& ctx,
                std::optional<std::int64_t> plate = std::nullopt);
Image add_grain(Image density, const Json& film, const Json& options, double px_um,
                const std::array<HdCurve, 3>& curves, const RenderContext& ctx);

bool grain_engine_is_growth(const Json& options);

// `_growth_seed` of the options, or of the film, else the seed alone.
Key growth_key(const Json& film, const Json& options);

}  // namespace morva
