// The unevenness of ink on paper: fields of unit deviation and the way in which a layer of ink
// shows one.
#pragma once

#include "image/image.h"
#include "image/random.h"
#include "print/process_block.h"
#include "print/smooth_field.h"

namespace morva {

// Whether there is a field to draw at all.
bool shows(const TextureBlock& texture);
bool shows(const RollerBlock& roller);

// The tooth of the paper, the grain of a dusted plate or the fibres of a sheet, by the texture's
// kind.
DrawnField draw_texture(Rng& rng, int w, int h, const TextureBlock& texture, double px_per_mm);
Image texture_field(Rng& rng, int w, int h, const TextureBlock& texture, double px_per_mm);

// The coarse layer that a roller or a stamping brush leaves. Draws two fields, the wide one first.
DrawnField draw_roller(Rng& rng, int w, int h, const RollerBlock& roller, double px_per_mm);
Image roller_field(Rng& rng, int w, int h, const RollerBlock& roller, double px_per_mm);

// Lays `field` on the ink plane, 0..1. A change of tone, largest in the mid tones and held back
// where the layer is full, and specks of ink in the lights. In place.
void show_in_ink(Image& ink, const Image& field, const InkField& how);

}  // namespace morva
