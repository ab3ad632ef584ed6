// The flags that verbs share: what is rendered, by what, and how the file is written.
#pragma once

#include <CLI/CLI.hpp>

#include "backend.h"
#include "output_choice.h"
#include "render_setting.h"

namespace morva::host {

void add_input(CLI::App& verb, SettingChoice& setting);

// Film, lens, paper, presets, options, framing, metering and seed.
void add_setting(CLI::App& verb, SettingChoice& setting);

void add_again(CLI::App& verb, SettingChoice& setting);

// How a file is written, whatever its name.
void add_encoding(CLI::App& verb, OutputChoice& output);

// What a render writes beside its pixels.
void add_notes(CLI::App& verb, OutputChoice& output);

// A file by its name, with all of that but the notes, and what is said of it.
void add_output(CLI::App& verb, OutputChoice& output);

void add_backend(CLI::App& verb, BackendChoice& backend);

}  // namespace morva::host
