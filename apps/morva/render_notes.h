// What a render tells of itself: in the picture that it makes, and in a preset file.
#pragma once

#include <string>

#include "output_choice.h"
#include "picture_writer.h"
#include "render_setting.h"

namespace morva::host {

// For the picture: the whole setting with its source, and of the source what its camera wrote,
// each as far as the choice has it.
PictureNotes notes_of(const OutputChoice& output, const CheckedSetting& checked);

// The setting as a preset file, with an end of line.
std::string preset_text(const CheckedSetting& checked);

}  // namespace morva::host
