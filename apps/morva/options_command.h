// morva options: every key that --set takes, with its default and meaning.
#pragma once

namespace morva::host {

struct OptionsRequest {
  bool as_json = false;
};

void run(const OptionsRequest& request);

}  // namespace morva::host
