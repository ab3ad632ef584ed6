#include "render_command.h"

#include <nlohmann/json.hpp>
#include <optional>

#include "byte_file.h"
#include "cancel_signal.h"
#include "console.h"
#include "engine_render.h"
#include "framing.h"
#include "host_error.h"
#include "option_table.h"
#include "output_file.h"
#include "picture_reader.h"
#include "progress.h"
#include "render_notes.h"
#include "sheet_size.h"
#include "source_exposure.h"
#include "standard_streams.h"
#include "terminal_text.h"

namespace morva::host {
namespace {

using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;

void refuse_preset_in_the_way(const RenderRequest& request) {
  if (request.save_options == kStandardStream)
    throw HostError(MORVA_BAD_ARGUMENT, "--save-options takes a file, not standard output");
  if (request.output.file != kStandardStream &&
      same_place(request.save_options, request.output.file))
    throw HostError(MORVA_BAD_ARGUMENT,
                    "the picture and --save-options name the same file: " + request.output.file);
}

void write_text(const std::string& text, OutputFile& output) {
  ByteFile bytes(output.create_temporary());
  if (std::fwrite(text.data(), 1, text.size(), bytes.stream()) != text.size())
    throw HostError(MORVA_FAILED, "cannot write the preset");
  bytes.close();
}

OrderedJson report(const RenderRequest& request, const RenderSetting& setting, const Json& options,
                   PixelSize source, PixelSize sheet, double seconds) {
  OrderedJson report;
  report["output"] = request.output.file;
  report["width"] = sheet.width;
  report["height"] = sheet.height;
  report_setting(setting, source, report);
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
  const Encoding encoding = encoding_of(request.output);
  if (!request.save_options.empty()) refuse_preset_in_the_way(request);
  OutputFile output(request.output.file, request.output.force);
  std::optional<OutputFile> preset_file;
  if (!request.save_options.empty())
    preset_file.emplace(request.save_options, request.output.force);
  select_backend(request.backend);
  CheckedSetting checked = check_setting(request.setting);
  refuse_input_as_output(checked.setting.input, request.output.file);
  if (preset_file) refuse_input_as_output(checked.setting.input, request.save_options);
  const PictureNotes notes = notes_of(request.output, checked);
  require_room(notes, encoding.format);
  const std::string as_preset = preset_file ? preset_text(checked) : "";
  auto& [setting, options, metering] = checked;

  if (request.setting.again && !request.output.quiet)
    print_note(on_one_line("rendered from " + setting.input) + "\n");

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
    const Picture sheet = render_sheet(source, setting, options);
    source.samples.reset();

    progress.step("writing " + request.output.file);
    write_picture(sheet, encoding, notes, output.create_temporary());
    if (preset_file) write_text(as_preset, *preset_file);
    check_cancelled();
    output.commit();
    if (preset_file) preset_file->commit();
    made = report(request, setting, options, source_size, sheet.size(), progress.elapsed_s());
  }
  if (!warning.empty()) print_warning(warning);
  std::string reason;
  if (lost_and_recovered(reason) > 0)
    print_warning("the GPU was lost (" + reason + ") and the picture rendered again");
  if (request.backend.profile) print_note(profile_report());
  announce(request.output, made);
}

}  // namespace morva::host
