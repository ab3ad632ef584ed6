// Keys of the random streams. `seed` fixes every draw of a render; `seed_variants` re-rolls one
// stream and leaves the others as they were.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "image/random.h"
#include "profiles/json_access.h"

namespace morva {

inline constexpr int kFilmStream = 1;     // grain and all film-side noise
inline constexpr int kFrameStream = 2;    // edges of frames and rebates
inline constexpr int kPrintStream = 3;    // print-side noise
inline constexpr int kTableStream = 4;    // mat and table surfaces
inline constexpr int kDevelopStream = 5;  // uneven development

// Tags that keep one stock's noise apart from another's within the film stream.
inline constexpr std::int64_t kDryPlateTag = 87;
inline constexpr std::int64_t kCollodionTag = 78;
inline constexpr std::int64_t kPeelTag = 29;

// [seed, stream, variant of the stream's name], and `extra` as a fourth word when given. A stream
// number without a name has the variant 0. Throws OptionsError when a seed or variant is not a
// number.
Key stream_key(const Json& options, int stream, std::optional<std::int64_t> extra = std::nullopt);

// The seed alone.
Key seed_key(const Json& options);

// A key that a record lists under `name`. Throws OptionsError when a word is not a number.
Key listed_key(const Json& words, std::string_view name);

Rng seeded_rng(const Json& options, int stream, std::optional<std::int64_t> extra = std::nullopt);

// The film's list under `name` with `tag` appended, where it has one; else [seed, 1, 0, tag], which
// variants do not reach.
Key plate_key(const Json& film, std::string_view name, const Json& options, std::int64_t tag);

}  // namespace morva
