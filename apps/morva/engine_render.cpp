#include "engine_render.h"

#include <morva.h>

#include <algorithm>

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

void try_out(PixelSize size, const RenderSetting& setting, const nlohmann::json& options) {
  constexpr float kMidGrey = 0.18f;
  Picture grey = new_picture(size.width, size.height);
  std::fill_n(grey.samples.get(), grey.row_samples() * static_cast<std::size_t>(size.height),
              kMidGrey);
  render_sheet(grey, setting, options);
}

}  // namespace morva::host
