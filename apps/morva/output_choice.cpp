#include "output_choice.h"

#include "console.h"

namespace morva::host {

void announce(const OutputChoice& choice, const nlohmann::ordered_json& made) {
  if (choice.as_json) {
    print_json(made);
  } else if (!choice.quiet) {
    print_line(choice.file);
  }
}

}  // namespace morva::host
