// morva render: a picture through lens, film and paper.
#pragma once

#include <string>

#include "output_choice.h"
#include "render_options.h"

namespace morva::host {

struct RenderRequest {
  std::string input;
  OutputChoice output;
  std::string film = "everyday_400";
  std::string lens = "plain";
  std::string paper;  // empty: the film's own
  std::string
      source_exposure;  // how the source is metered; empty: as the options or the file have it
  OptionSources options;
};

void run(const RenderRequest& request);

}  // namespace morva::host
