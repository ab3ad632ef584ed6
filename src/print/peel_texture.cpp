#include "print/peel_texture.h"

#include <cmath>

#include "print/dot_screen.h"
#include "print/instant_texture.h"
#include "print/paste_bands.h"
#include "profiles/seeds.h"

namespace morva {

namespace {

PulledSheet sheet_in_hand(const Image& density, const Json& film, double px_um) {
  if (!has(film, "_peel_size")) return pulled_sheet(density, px_um, nullptr);
  return pulled_sheet(density, px_um, &peel_size(get_object(film, "frame"), noted_peel_size(film)));
}

}  // namespace

Image add_peel_texture(Image density, const Json& film, const Json& options, double px_um,
                       double strength) {
  if (!(strength >= kWeakestTexture)) return density;
  const PulledSheet sheet = sheet_in_hand(density, film, px_um);
  const PasteBands bands = paste_bands(film, strength);
  if (bands.amp > kWeakestMark || std::fabs(bands.paste_amp) > kWeakestMark) {
    Rng rng = peel_rng(film, options, PeelField::bands);
    add_paste_bands(density, sheet, bands, rng);
  }
  const DotScreen screen = dot_screen(film, strength);
  if (screen.amp > kWeakestMark) {
    Rng rng = peel_rng(film, options, PeelField::screen);
    add_dot_screen(density, sheet, screen, rng);
  }
  return density;
}

Rng peel_rng(const Json& film, const Json& options, PeelField field) {
  const Json& words = get(film, "_peel_seed");
  const Key key = words.is_array() ? listed_key(words, "_peel_seed")
                                   : stream_key(options, kFilmStream, kPeelTag);
  return rng_from_key(with_word(key, static_cast<std::int64_t>(field)));
}

}  // namespace morva
