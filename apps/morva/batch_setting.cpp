#include "batch_setting.h"

#include <string>

#include "byte_file.h"
#include "engine_render.h"
#include "framing.h"
#include "host_error.h"
#include "render_notes.h"
#include "sheet_size.h"
#include "source_exposure.h"

namespace morva::host {
namespace {

constexpr PixelSize kTrial{6, 4};

void require_renders(const RenderSetting& setting, nlohmann::json options) {
  frame_straightened(kTrial.width, kTrial.height, options);
  require_sheet_that_fits(sheet_size(setting, options, kTrial));
  try_out(kTrial, setting, options);
}

}  // namespace

CheckedSetting tried_setting(const SettingChoice& choice) {
  CheckedSetting checked = gather_setting(choice);
  const bool scene_linear = false;  // of each picture; no mode is wrong for one kind alone
  metering_mode(checked.setting.source_exposure, checked.options, scene_linear);
  require_renders(checked.setting, checked.options);
  return checked;
}

TemporaryFile setting_file(const CheckedSetting& setting) {
  TemporaryFile file = temporary_file_of_the_user();
  const std::string text = preset_text(setting);
  ByteFile bytes(file.path());
  if (std::fwrite(text.data(), 1, text.size(), bytes.stream()) != text.size())
    throw HostError(MORVA_FAILED, "cannot write the setting for the renders");
  bytes.close();
  return file;
}

}  // namespace morva::host
