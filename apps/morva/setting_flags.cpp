#include "setting_flags.h"

#include <string>
#include <vector>

#include "framing_flags.h"

namespace morva::host {
namespace {

void add_list_of(CLI::App& verb, const char* name, std::vector<std::string>& values,
                 const char* type, const char* help) {
  // One value each: the next word may be the input.
  verb.add_option(name, values, help)->allow_extra_args(false)->type_name(type);
}

}  // namespace

void add_input(CLI::App& verb, SettingChoice& setting) {
  verb.add_option("input", setting.input, "The picture; - is standard input")
      ->required()
      ->type_name("IN");
}

void add_setting(CLI::App& verb, SettingChoice& setting) {
  verb.add_option("--film", setting.film, "Film; without it everyday_400")->type_name("NAME");
  verb.add_option("--lens", setting.lens, "Lens; without it plain")->type_name("NAME");
  verb.add_option("--paper", setting.paper, "Paper; without it the film's own")->type_name("NAME");
  add_list_of(verb, "--preset", setting.presets, "NAME|FILE",
              "Film, lens, paper and options from a preset, see morva list presets, or from a file "
              "or a rendered picture; may be repeated, a later one wins");
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

void add_again(CLI::App& verb, SettingChoice& setting) {
  verb.add_flag("--again", setting.again,
                "IN is a picture that was rendered: render its source as it was, but for what else "
                "is given here");
}

void add_encoding(CLI::App& verb, OutputChoice& output) {
  verb.add_option("--format", output.format, "png, tif, jpg or exr, whatever the file's name")
      ->check(CLI::IsMember({"png", "tif", "jpg", "exr"}))
      ->type_name("FORMAT");
  verb.add_option("--bits", output.bits, "Samples of the file: 8, 16 or 32f (linear float)")
      ->check(CLI::IsMember({"8", "16", "32f"}))
      ->type_name("BITS");
  verb.add_option("--quality", output.jpeg_quality, "JPEG quality, 1 to 100")
      ->check(CLI::Range(1, 100))
      ->capture_default_str();
  verb.add_flag("--force", output.force, "Write over an existing file");
}

void add_notes(CLI::App& verb, OutputChoice& output) {
  verb.add_option_function<std::string>(
          "--keep", [&output](const std::string&) { output.keep_exif = true; },
          "exif: carry over who took the picture, when, with which camera and exposure; not "
          "where. JPEG, PNG and TIFF")
      ->check(CLI::IsMember({"exif"}))
      ->type_name("WHAT");
  verb.add_flag("--no-metadata", output.no_metadata,
                "Leave out of the file how it was rendered, and from which source");
}

void add_output(CLI::App& verb, OutputChoice& output) {
  verb.add_option("-o,--output", output.file,
                  "The file to write; its extension tells the format. - is standard output")
      ->required()
      ->type_name("OUT");
  add_encoding(verb, output);
  verb.add_flag("--json", output.as_json, "Report on standard output as one JSON object");
  verb.add_flag("--quiet", output.quiet, "No progress, and no path on standard output");
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

}  // namespace morva::host
