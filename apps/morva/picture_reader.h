// Where an input picture comes from: an EXR file, any other picture file through the library's
// decoder, the demo scene under the name "demo",
// or whatever stands on standard input under the name "-".
#pragma once

#include <string>

#include "picture.h"

namespace morva::host {

// Throws unless `input` names something that could be read: a file, "-", or "demo" when no file has
// that name.
void check_input(const std::string& input);

// The same without the demo scene.
void check_input_file(const std::string& input);

// Whether the picture's light stands in the scene's own proportion to a film's mid grey, as in an
// EXR file and the demo scene; a file that the engine decodes has the brightness that its maker
// gave it.
bool is_scene_linear(const std::string& input);

Picture read_picture(const std::string& input);

// The picture's size as its file tells it, without decoding it.
PixelSize read_picture_size(const std::string& input);

// What a file that the engine decodes tells of itself.
MorvaImageInfo read_photo_info(const std::string& input);

}  // namespace morva::host
