#include "probe_command.h"

#include <morva.h>

#include <nlohmann/json.hpp>
#include <string>

#include "backend.h"
#include "console.h"

namespace morva::host {
namespace {

using OrderedJson = nlohmann::ordered_json;

const char* status_text(std::int32_t status) {
  switch (status) {
    case 0:
      return "ready";
    case 1:
      return "no hardware GPU";
    case 2:
      return "no hardware GPU that can be used";
    default:
      return "failed";
  }
}

// The device that runs on the CPU, or why there is none.
std::string software_device() {
  MorvaError error{};
  return morva_set_backend("gpu-warp", &error) == MORVA_OK ? backend_name() : error.message;
}

}  // namespace

void run(const ProbeRequest& request) {
  MorvaGpuProbe probe;
  morva_gpu_probe(&probe);
  OrderedJson facts = {{"hardware", std::string(probe.adapters)},
                       {"status", status_text(probe.status)}};
  if (probe.status == 0) facts["in_use"] = backend_name();
  if (*probe.error != '\0') facts["error"] = std::string(probe.error);
  facts["software"] = software_device();
  morva_release_gpu();
  if (request.as_json) return print_json(facts);
  for (const auto& [name, value] : facts.items())
    print_line(padded(name, 12) + value.get<std::string>());
}

}  // namespace morva::host
