// --crop, --angle, --rotate and --mirror.
#pragma once

#include <CLI/CLI.hpp>

#include "render_options.h"

namespace morva::host {

void add_framing(CLI::App& verb, OptionFlags& flags);

}  // namespace morva::host
