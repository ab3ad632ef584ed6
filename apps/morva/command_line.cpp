#include "command_line.h"

#include <morva.h>

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "console.h"
#include "host_error.h"
#include "setting_flags.h"

namespace morva::host {
namespace {

constexpr const char* kAbout =
    "Morva: a photograph as a film, a lens and a darkroom would have made it.";

constexpr const char* kFooter = R"(Examples:
  morva render photo.jpg -o print.tif --film everyday_400
  morva render scene.exr -o print.png --set push=1 --set print_cm=40 --seed 7
  morva render photo.jpg -o print.png --crop 0.1,0.1,0.8,0.8 --angle -1.5 --source-exposure shadows
  morva render demo -o demo.jpg
  morva plan photo.jpg --film silver_400 --paper bw_warm --set mat=classic
  morva sheet photo.jpg -o sheet.jpg --vary film=silver_125,silver_400 --vary push=-1,0,1
  morva batch photos -o prints --preset album_page -j 4 --keep-going
  morva render print.png --again -o larger.png --set print_cm=50
  morva list films

Exit codes:
  0  done
  1  the command line, the input or preset file or the output's place is at fault
  2  a profile or preset of that name is missing, or a profile is broken
  3  an option or what a preset says is not valid
  4  a feature that the engine does not carry
  5  any other failure, such as a file that cannot be decoded or written
  6  cancelled (Ctrl-C); no file is left
  7  the GPU stopped answering

The picture's path, or --json, goes to standard output; errors and progress go to standard error.)";

constexpr const char* kRenderFooter =
    R"(Input: EXR (scene-linear), a picture file that the engine decodes, demo, or - for standard input.
Output: .png and .tif (16 bits; --bits 8; .tif also --bits 32f, linear), .jpg (8 bits, --quality),
.exr (linear floats). All but linear files are sRGB; an ICC profile is embedded.
Output to - needs --format. The setting stands in the file, so that --again and --preset can read it.
morva options lists the keys of --set.)";

constexpr const char* kBatchFooter =
    R"(Each picture is a morva render of its own. Exits with the code of the first picture that failed.)";

std::string version_text() {
  return std::string("morva ") + MORVA_HOST_VERSION + "\nengine " + morva_version();
}

void add_render(CLI::App& app, RenderRequest& request) {
  CLI::App& verb = *app.add_subcommand("render", "Render a picture on film and paper");
  add_input(verb, request.setting);
  add_again(verb, request.setting);
  add_output(verb, request.output);
  add_notes(verb, request.output);
  add_setting(verb, request.setting);
  verb.add_option("--save-options", request.save_options,
                  "Write the whole setting as a preset for --preset")
      ->type_name("FILE");
  add_backend(verb, request.backend);
  verb.footer(kRenderFooter);
}

void add_plan(CLI::App& app, PlanRequest& request) {
  CLI::App& verb =
      *app.add_subcommand("plan", "Tell the sizes that a render would have, without rendering");
  add_input(verb, request.setting);
  add_again(verb, request.setting);
  verb.add_flag("--json", request.as_json, "As a JSON object, with all that the engine tells");
  add_setting(verb, request.setting);
}

void add_sheet(CLI::App& app, SheetRequest& request) {
  CLI::App& verb =
      *app.add_subcommand("sheet", "Render a picture in several ways, side by side and labelled");
  add_input(verb, request.setting);
  add_again(verb, request.setting);
  add_output(verb, request.output);
  verb.add_option("--vary", request.variations,
                  "film, lens, paper, preset or an option with its values; once for a row, twice "
                  "for a grid. film=* takes all films")
      ->required()
      ->allow_extra_args(false)
      ->type_name("KEY=A,B,C");
  verb.add_option("--cell", request.cell_px, "Long side of each picture, 64 to 4096 pixels")
      ->check(CLI::Range(64, 4096))
      ->capture_default_str()
      ->type_name("PX");
  add_setting(verb, request.setting);
  add_backend(verb, request.backend);
}

// What a render of a batch is given as it was given to the batch.
void add_passed_on(CLI::App& verb, OutputChoice& output, BackendChoice& backend) {
  add_encoding(verb, output);
  add_notes(verb, output);
  add_backend(verb, backend);
}

// The flags as they stood on the command line, those of `verb` that `mould` has too.
std::vector<std::string> flags_given(const CLI::App& verb, const CLI::App& mould) {
  std::vector<std::string> words;
  for (const CLI::Option* option : verb.get_options()) {
    if (option->count() == 0 || option->get_lnames().empty()) continue;
    const std::string name = "--" + option->get_lnames().front();
    if (name == "--help" || mould.get_option_no_throw(name) == nullptr) continue;
    const bool is_flag = option->get_items_expected_max() == 0;
    if (is_flag) {
      words.push_back(name);
      continue;
    }
    words.push_back(name);
    words.push_back(option->results().back());
  }
  return words;
}

void add_batch(CLI::App& app, BatchRequest& request, BackendChoice& backend) {
  CLI::App& verb = *app.add_subcommand("batch", "Render many pictures, several at a time");
  verb.add_option("inputs", request.choice.inputs, "Pictures, and folders of pictures")
      ->required()
      ->type_name("IN");
  verb.add_option("-o,--output", request.choice.folder, "The folder to write into")
      ->required()
      ->type_name("DIR");
  verb.add_option("--name", request.choice.pattern,
                  "Names of the files: {name} and {ext} of the picture, {film}, {paper}, {n}, its "
                  "number; without it {name}.png, or what --format tells")
      ->type_name("PATTERN");
  verb.add_option("-j,--jobs", request.jobs,
                  "Renders at a time, 1 to 256; without it one for each processor, but at most 4, "
                  "and one on "
                  "a GPU")
      ->check(CLI::Range(1, 256))
      ->type_name("N");
  verb.add_flag("--keep-going", request.keep_going, "Begin new renders after one has failed");
  verb.add_flag("--skip-existing", request.choice.skip_existing,
                "Leave out the pictures whose file is there");
  verb.add_flag("--json", request.as_json, "Report on standard output as one JSON object");
  verb.add_flag("--quiet", request.quiet, "No progress, no paths and no summary");
  add_passed_on(verb, request.choice.output, backend);
  add_setting(verb, request.choice.setting);
  verb.footer(kBatchFooter);
  verb.callback([&request, &backend, &verb] {
    if (request.jobs == 0 && backend.name != "cpu") request.jobs = 1;  // one GPU for all
    OutputChoice output;
    BackendChoice unused;
    CLI::App mould;
    add_passed_on(mould, output, unused);
    request.passed_on = flags_given(verb, mould);
  });
}

void add_list(CLI::App& app, ListRequest& request) {
  CLI::App& verb =
      *app.add_subcommand("list", "List films, lenses, papers, filters or presets, a line each");
  verb.add_option("section", request.section, "films, lenses, papers, filters or presets")
      ->required()
      ->check(CLI::IsMember({"films", "lenses", "papers", "filters", "presets"}));
  verb.add_flag("--json", request.as_json, "As a JSON array");
}

void add_options(CLI::App& app, OptionsRequest& request) {
  CLI::App& verb = *app.add_subcommand("options", "List every option: key, default, meaning");
  verb.add_flag("--json", request.as_json, "As a JSON array");
}

void add_info(CLI::App& app, InfoRequest& request) {
  CLI::App& verb = *app.add_subcommand("info", "Tell what a picture file says of itself");
  verb.add_option("file", request.input, "The picture")->required()->type_name("FILE");
  verb.add_flag("--json", request.as_json, "As a JSON object");
}

void add_demo(CLI::App& app, DemoRequest& request) {
  CLI::App& verb = *app.add_subcommand("demo", "Write the demo scene (as .exr it is scene-linear)");
  add_output(verb, request.output);
}

void add_probe(CLI::App& app, ProbeRequest& request) {
  CLI::App& verb = *app.add_subcommand("probe", "Tell which GPUs there are and whether they work");
  verb.add_flag("--json", request.as_json, "As a JSON object");
}

void add_schema(CLI::App& app) {
  app.add_subcommand("schema", "The options of a render as JSON Schema");
}

struct Requests {
  RenderRequest render;
  PlanRequest plan;
  SheetRequest sheet;
  BatchRequest batch;
  BackendChoice batch_backend;  // which the renders of a batch are told
  ListRequest list;
  OptionsRequest options;
  InfoRequest info;
  DemoRequest demo;
  ProbeRequest probe;
};

Request chosen(const CLI::App& app, const Requests& requests) {
  if (app.got_subcommand("render")) return requests.render;
  if (app.got_subcommand("plan")) return requests.plan;
  if (app.got_subcommand("sheet")) return requests.sheet;
  if (app.got_subcommand("batch")) return requests.batch;
  if (app.got_subcommand("schema")) return SchemaRequest();
  if (app.got_subcommand("list")) return requests.list;
  if (app.got_subcommand("options")) return requests.options;
  if (app.got_subcommand("info")) return requests.info;
  if (app.got_subcommand("probe")) return requests.probe;
  return requests.demo;
}

}  // namespace

std::optional<Request> parse_command_line(int argc, char** argv) {
  Requests requests;
  CLI::App app(kAbout, "morva");
  app.require_subcommand(1);
  app.set_version_flag("--version", version_text());
  app.footer(kFooter);
  add_render(app, requests.render);
  add_plan(app, requests.plan);
  add_sheet(app, requests.sheet);
  add_batch(app, requests.batch, requests.batch_backend);
  add_list(app, requests.list);
  add_options(app, requests.options);
  add_info(app, requests.info);
  add_demo(app, requests.demo);
  add_schema(app);
  add_probe(app, requests.probe);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    print_line(app.help());
    return std::nullopt;
  } catch (const CLI::CallForVersion&) {
    print_line(version_text());
    return std::nullopt;
  } catch (const CLI::ParseError& failure) {
    throw HostError(MORVA_BAD_ARGUMENT, std::string(failure.what()) + " (see morva --help)");
  }
  return chosen(app, requests);
}

}  // namespace morva::host
