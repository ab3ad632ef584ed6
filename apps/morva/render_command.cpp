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
#include "source_exposure.h"

namespace morva::host {
namespace {

using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;

struct Size {
  int32_t width;
  int32_t height;
};

std::string options_text(const Json& options) {
  try {
    return options.dump();
  } catch (const Json::exception&) {
    throw HostError(MORVA_OPTIONS_FAILED, "an option's text is not UTF-8");
  }
}

Picture render(const Picture& source, const RenderRequest& request, const std::string& options) {
  MorvaImage sheet{};
  MorvaError error{};
  const char* paper = request.paper.empty() ? nullptr : request.paper.c_str();
  check_engine(morva_render_ex(source.samples.get(), source.width, source.height, options.c_str(),
                               request.film.c_str(), request.lens.c_str(), paper, cancel_flag(),
                               &sheet, &error),
               error);
  return take_picture(sheet);
}

OrderedJson report(const RenderRequest& request, const Json& options, Size source, Size sheet,
                   double seconds) {
  OrderedJson report;
  report["output"] = request.output.file;
  report["width"] = sheet.width;
  report["height"] = sheet.height;
  report["input"] = {{"file", request.input}, {"width", source.width}, {"height", source.height}};
  report["film"] = request.film;
  report["lens"] = request.lens;
  report["paper"] = request.paper.empty() ? OrderedJson() : OrderedJson(request.paper);
  report["print_cm"] = option_value(options, "print_cm");
  report["sheet_cm"] = option_value(options, "sheet_cm");
  report["source_gain"] = options.value(kSourceGain, Json());
  report["seed"] = option_value(options, "seed");
  report["seconds"] = seconds;
  return report;
}

}  // namespace

void run(const RenderRequest& request) {
  // Whatever can be refused is refused before the minutes are spent.
  const Encoding encoding =
      encoding_for(request.output.file, request.output.bits, request.output.jpeg_quality);
  OutputFile output(request.output.file, request.output.force);
  Json options = gather_options(request.options);
  options_text(options);
  check_input(request.input);
  const std::string metering =
      metering_mode(request.source_exposure, options, is_scene_linear(request.input));

  OrderedJson made;
  std::string warning;
  {
    Progress progress(!request.output.quiet);
    progress.step("reading " + request.input);
    Picture source = read_picture(request.input);
    const Size source_size{source.width, source.height};
    check_cancelled();

    progress.step("rendering on " + request.film);
    meter_source(source, metering, options);
    warning = frame_straightened(source.width, source.height, options);
    const Picture sheet = render(source, request, options_text(options));
    source.samples.reset();

    progress.step("writing " + request.output.file);
    write_picture(sheet, encoding, output.create_temporary());
    check_cancelled();
    output.commit();
    made = report(request, options, source_size, {sheet.width, sheet.height}, progress.elapsed_s());
  }
  if (!warning.empty()) print_warning(warning);
  announce(request.output, made);
}

}  // namespace morva::host
