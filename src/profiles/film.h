// The film record. A film is the few numbers in its file; development folds into a private copy of
// them, and every stage of film and print reads that copy.
#pragma once

#include <array>
#include <initializer_list>
#include <string>

#include "profiles/json_access.h"

namespace morva {

// Of the layers in a film's `layers`: what records red, green and blue.
inline constexpr std::array<const char*, 3> kLayerNames = {"r", "g", "b"};

// The film with its development folded in: preset `dev`, `push` in stops, the temperatures of the
// black-and-white or instant bath and of the colour bath in degrees C, and the strength of
// development mottle. `film` is the profile after ageing. Adds the keys beginning with "_" that the
// stages read. Throws OptionsError for an unknown preset, ProfileError for a curve without its
// keys.
Json resolve_film(const Json& film, double push, const std::string& dev, double dev_temp_c,
                  double dev_mottle, double c41_temp_c);

// The paper that shows a film when none is named.
std::string default_positive(const Json& film);

// Exposure of the film in stops: option `ev` and what development added.
double exposure_total(const Json& options, const Json& film);

// Colour temperature for which the film is balanced, kelvin.
double film_illuminant_k(const Json& film);

// How a panchromatic layer mixes R, G and B; the weights sum to 1.
std::array<float, 3> panchromatic_weights(const Json& film);

// One silver layer in an instant pack.
bool is_mono_instant(const Json& film);

// Multiplies those numbers of an object that it has.
void scale_where_present(Json& record, std::initializer_list<const char*> keys, double factor);

// How unevenly an instant pack's paste develops: the amplitudes of mottle, fine and streaks of
// `texture` where present, and of `tone_mottle` where the film has one.
void scale_mottle(Json& film, double factor);

}  // namespace morva
