#include "render_notes.h"

#include <morva.h>

#include "standard_streams.h"
#include "terminal_text.h"

namespace morva::host {

using OrderedJson = nlohmann::ordered_json;

PictureNotes notes_of(const OutputChoice& output, const CheckedSetting& checked) {
  PictureNotes notes;
  if (output.keep_exif) notes.camera = read_camera_data(file_behind(checked.setting.input));
  if (output.no_metadata) return notes;
  Preset preset = written_down(checked);
  // JSON holds no other text, and a name that is not quite the file's would not find it.
  if (!is_utf8(preset.source)) preset.source.clear();
  OrderedJson told = {{"morva", morva_version()}};
  told.update(in_json(preset));
  // ASCII, whatever the names in it: the description of a TIFF holds no other.
  notes.setting = told.dump(-1, ' ', true, OrderedJson::error_handler_t::replace);
  return notes;
}

std::string preset_text(const CheckedSetting& checked) {
  Preset preset = written_down(checked);
  preset.source.clear();
  return in_json(preset).dump(2) + "\n";
}

}  // namespace morva::host
