#include "engine_render.h"

#include <morva.h>

#include "cancel_signal.h"
#include "host_error.h"

namespace morva::host {

Picture render_sheet(const Picture& source, const RenderSetting& setting,
                     const nlohmann::json& options) {
  MorvaImage sheet{};
  MorvaError error{};
  check_engine(
      morva_render_ex(source.samples.get(), source.width, source.height,
                      options_text(options).c_str(), setting.film.c_str(), setting.lens.c_str(),
                      setting.paper.empty() ? nullptr : setting.paper.c_str(), cancel_flag(),
                      &sheet, &error),
      error);
  return take_picture(sheet);
}

}  // namespace morva::host
