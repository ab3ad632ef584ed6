#include "command_line.h"

#include <morva.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "console.h"
#include "host_error.h"

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
  morva list films

Exit codes:
  0  done
  1  the command line, the input file or the output's place is at fault
  2  a profile is missing or broken
  3  an option is not valid
  4  a feature that the engine does not carry
  5  any other failure, such as a file that cannot be decoded or written
  6  cancelled (Ctrl-C); no file is left
  7  the GPU stopped answering

The picture's path, or --json, goes to standard output; errors and progress go to standard error.)";

constexpr const char* kRenderFooter =
    R"(Input: EXR (scene-linear), a picture file that the engine decodes, or demo.
Output: .png and .tif (16 bits; --bits 8; .tif also --bits 32f, linear), .jpg (8 bits, --quality),
.exr (linear floats). All but linear files are sRGB; an ICC profile is embedded.
morva options lists the keys of --set.)";

std::string version_text() {
  return std::string("morva ") + MORVA_HOST_VERSION + "\nengine " + morva_version();
}

void add_output(CLI::App& verb, OutputChoice& output) {
  verb.add_option("-o,--output", output.file, "The file to write; its extension tells the format")
      ->required()
      ->type_name("OUT");
  verb.add_flag("--force", output.force, "Write over an existing file");
  verb.add_option("--bits", output.bits, "Samples of the file: 8, 16 or 32f (linear float)")
      ->check(CLI::IsMember({"8", "16", "32f"}));
  verb.add_option("--quality", output.jpeg_quality, "JPEG quality, 1 to 100")
      ->check(CLI::Range(1, 100))
      ->capture_default_str();
  verb.add_flag("--json", output.as_json, "Report on standard output as one JSON object");
  verb.add_flag("--quiet", output.quiet, "No progress, and no path on standard output");
}

void add_list_of(CLI::App& verb, const char* name, std::vector<std::string>& values,
                 const char* type, const char* help) {
  // One value each: the next word may be the input.
  verb.add_option(name, values, help)->allow_extra_args(false)->type_name(type);
}

// Nothing for a text that is not one finite number. Spaces about it and a plus before it are fine.
std::optional<double> finite_number(std::string_view text) {
  constexpr std::string_view kSpaces = " \t";
  text.remove_prefix(std::min(text.find_first_not_of(kSpaces), text.size()));
  text.remove_suffix(text.size() - (text.find_last_not_of(kSpaces) + 1));
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  double number = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  return whole && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

double angle_degrees(const std::string& text) {
  const std::optional<double> degrees = finite_number(text);
  if (!degrees) throw CLI::ValidationError("--angle takes a number, not: " + text);
  return *degrees;
}

int quarter_turns_degrees(const std::string& text) {
  const double degrees = finite_number(text).value_or(-1.0);
  for (const int turn : {0, 90, 180, 270})
    if (degrees == turn) return turn;
  throw CLI::ValidationError("--rotate takes 90, 180 or 270, not: " + text);
}

// One word, x,y,w,h: the next may be the input. What would reach past the right or the lower side
// ends there.
std::vector<double> crop_fractions(const std::string& text) {
  std::vector<double> part;
  for (std::string_view rest = text;;) {
    const std::size_t comma = rest.find(',');
    const std::optional<double> number = finite_number(rest.substr(0, comma));
    if (!number) throw CLI::ValidationError("--crop takes numbers X,Y,W,H, not: " + text);
    part.push_back(*number);
    if (comma == std::string_view::npos) break;
    rest.remove_prefix(comma + 1);
  }
  if (part.size() != 4) throw CLI::ValidationError("--crop takes X,Y,W,H, not: " + text);
  for (std::size_t side : {0, 1}) {
    const double first = part[side], size = part[side + 2];
    if (!(first >= 0.0 && first < 1.0 && size > 0.0 && size <= 1.0))
      throw CLI::ValidationError("--crop takes fractions of 0 to 1, not: " + text);
    part[side + 2] = std::min(size, 1.0 - first);
  }
  return part;
}

void add_framing(CLI::App& verb, OptionFlags& flags) {
  verb.add_option_function<std::string>(
          "--crop", [&flags](const std::string& text) { flags.crop = crop_fractions(text); },
          "Part of the picture: left, top, width and height as fractions of its sides, 0 to 1")
      ->type_name("X,Y,W,H");
  verb.add_option_function<std::string>(
          "--angle", [&flags](const std::string& text) { flags.angle = angle_degrees(text); },
          "Straighten: turn clockwise by so many degrees; without a crop, cuts the corners that "
          "the turn empties")
      ->type_name("DEG");
  verb.add_option_function<std::string>(
          "--rotate",
          [&flags](const std::string& text) { flags.rotate = quarter_turns_degrees(text); },
          "Turn clockwise by 90, 180 or 270 degrees")
      ->type_name("DEG");
  verb.add_flag("--mirror", flags.mirror, "Flip left to right, before the turn");
}

void add_input(CLI::App& verb, RenderSetting& setting) {
  verb.add_option("input", setting.input, "The picture")->required()->type_name("IN");
}

void add_setting(CLI::App& verb, RenderSetting& setting) {
  verb.add_option("--film", setting.film, "Film")->capture_default_str()->type_name("NAME");
  verb.add_option("--lens", setting.lens, "Lens")->capture_default_str()->type_name("NAME");
  verb.add_option("--paper", setting.paper, "Paper; without it the film's own")->type_name("NAME");
  add_list_of(verb, "--set", setting.options.settings, "KEY=VALUE",
              "Set an option; may be repeated, and wins over --options");
  add_list_of(verb, "--options", setting.options.files, "FILE",
              "Options from a JSON file; may be repeated, a later one wins");
  add_framing(verb, setting.options.flags);
  verb.add_option(
          "--source-exposure", setting.source_exposure,
          "How the source is metered: auto, as_shot, highlights, shadows or off. Without it "
          "the option src_exposure counts, else auto, but off for EXR and demo. Not "
          "together with the option _source_gain")
      ->check(CLI::IsMember({"auto", "as_shot", "highlights", "shadows", "off"}))
      ->type_name("MODE");
  verb.add_option("--seed", setting.options.flags.seed, "Seed of everything random")
      ->type_name("N");
}

void add_backend(CLI::App& verb, BackendChoice& backend) {
  verb.add_option("--backend", backend.name,
                  "What renders: cpu, gpu (the fastest one) or gpu-warp (a GPU's driver that runs "
                  "on the CPU)")
      ->check(CLI::IsMember({"cpu", "gpu", "gpu-warp"}))
      ->capture_default_str()
      ->type_name("NAME");
  verb.add_flag("--profile", backend.profile,
                "Print where the time went on the GPU, to standard error");
}

void add_render(CLI::App& app, RenderRequest& request) {
  CLI::App& verb = *app.add_subcommand("render", "Render a picture on film and paper");
  add_input(verb, request.setting);
  add_output(verb, request.output);
  add_setting(verb, request.setting);
  add_backend(verb, request.backend);
  verb.footer(kRenderFooter);
}

void add_plan(CLI::App& app, PlanRequest& request) {
  CLI::App& verb =
      *app.add_subcommand("plan", "Tell the sizes that a render would have, without rendering");
  add_input(verb, request.setting);
  verb.add_flag("--json", request.as_json, "As a JSON object, with all that the engine tells");
  add_setting(verb, request.setting);
}

void add_list(CLI::App& app, ListRequest& request) {
  CLI::App& verb = *app.add_subcommand("list", "List profiles, a line each");
  verb.add_option("section", request.section, "films, lenses, papers or filters")
      ->required()
      ->check(CLI::IsMember({"films", "lenses", "papers", "filters"}));
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

struct Requests {
  RenderRequest render;
  PlanRequest plan;
  ListRequest list;
  OptionsRequest options;
  InfoRequest info;
  DemoRequest demo;
  ProbeRequest probe;
};

Request chosen(const CLI::App& app, const Requests& requests) {
  if (app.got_subcommand("render")) return requests.render;
  if (app.got_subcommand("plan")) return requests.plan;
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
  add_list(app, requests.list);
  add_options(app, requests.options);
  add_info(app, requests.info);
  add_demo(app, requests.demo);
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
