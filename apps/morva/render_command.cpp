#include "render_command.h"

#include <nlohmann/json.hpp>

#include "cancel_signal.h"
#include "console.h"
#include "framing.h"
#include "host_error.h"
#include "option_table.h"
#include "output_file.h"
#include "picture_reader.h"
#include "picture_writer.h"
#include "progress.h"
#include "sheet_size.h"
#include "source_exposure.h"

namespace morva::host {
namespace {

using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;

Picture render(const Picture& source, const RenderSetting& setting, const std::string& options) {
  MorvaImage sheet{};
  MorvaError error{};
  check_engine(morva_render_ex(source.samples.get(), source.width, source.height, options.c_str(),
                               setting.film.c_str(), setting.lens.c_str(),
                               setting.paper.empty() ? nullptr : setting.paper.c_str(),
                               cancel_flag(), &sheet, &error),
               error);
  return take_picture(sheet);
}

OrderedJson report(const RenderRequest& request, const Json& options, PixelSize source,
                   PixelSize sheet, double seconds) {
  OrderedJson report;
  report["output"] = request.output.file;
  report["width"] = sheet.width;
  report["height"] = sheet.height;
  report_setting(request.setting, source, report);
  report["print_cm"] = option_value(options, "print_cm");
  report["sheet_cm"] = option_value(options, "sheet_cm");
  report["source_gain"] = options.value(kSourceGain, Json());
  report["seed"] = option_value(options, "seed");
  report["backend"] = backend_name();
  report["seconds"] = seconds;
  return report;
}

}  // namespace

void run(const RenderRequest& request) {
  // Whatever can be refused is refused before the minutes are spent.
  const Encoding encoding =
      encoding_for(request.output.file, request.output.bits, request.output.jpeg_quality);
  OutputFile output(request.output.file, request.output.force);
  select_backend(request.backend);
  const RenderSetting& setting = request.setting;
  auto [options, metering] = check_setting(setting);

  OrderedJson made;
  std::string warning;
  {
    Progress progress(!request.output.quiet);
    progress.step("reading " + setting.input);
    Picture source = read_picture(setting.input);
    const PixelSize source_size = source.size();
    check_cancelled();

    warning = frame_straightened(source.width, source.height, options);
    require_sheet_that_fits(sheet_size(setting, options, source_size));
    progress.step("rendering on " + setting.film);
    meter_source(source, metering, options);
    const Picture sheet = render(source, setting, options_text(options));
    source.samples.reset();

    progress.step("writing " + request.output.file);
    write_picture(sheet, encoding, output.create_temporary());
    check_cancelled();
    output.commit();
    made = report(request, options, source_size, sheet.size(), progress.elapsed_s());
  }
  if (!warning.empty()) print_warning(warning);
  std::string reason;
  if (lost_and_recovered(reason) > 0)
    print_warning("the GPU was lost (" + reason + ") and the picture rendered again");
  if (request.backend.profile) print_note(profile_report());
  announce(request.output, made);
}

}  // namespace morva::host
