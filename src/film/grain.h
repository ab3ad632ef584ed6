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

// How far on the film the variations of its grown grain reach, micrometres, by the engine and the
// options above; nothing for a film without such grain.
std::optional<double> grown_grain_reach_um(const Json& film, const Json& options);

// The grain that the options' engine gives a film, on pixels of `um_per_px`.
struct GrainCell {
  double size_um = 0.0;   // of a clump, or the sigma of the classic engine's noise
  bool resolved = false;  // single grains show in the pixels
};

// Nothing for a film without grain to show. Calibrates nothing.
std::optional<GrainCell> grain_cell(const Json& film, const Json& options, double um_per_px);

bool grain_engine_is_growth(const Json& options);

// What the film's record and the options say of its grain.
struct GrainSettings {
  Json record;  // the film's `grain`
  double mult = 1.0;
  double size_mult = 1.0;
};
GrainSettings grain_settings(const Json& film, const Json& options);

// The long side of the film's format, micrometres.
double film_long_um(const Json& options);

// `_growth_seed` of the options, or of the film, else the seed alone.
Key growth_key(const Json& film, const Json& options);

}  // namespace morva
