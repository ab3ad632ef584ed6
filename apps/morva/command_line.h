// The command line as one of the host's requests.
#pragma once

#include <optional>
#include <variant>

#include "batch_command.h"
#include "demo_command.h"
#include "info_command.h"
#include "list_command.h"
#include "options_command.h"
#include "plan_command.h"
#include "probe_command.h"
#include "render_command.h"
#include "schema_command.h"
#include "sheet_command.h"

namespace morva::host {

using Request = std::variant<RenderRequest, PlanRequest, SheetRequest, BatchRequest, ListRequest,
                             OptionsRequest, SchemaRequest, InfoRequest, DemoRequest, ProbeRequest>;

// Nothing when only help or the version was asked for, which is then printed. Throws HostError with
// code 1 for a command line that makes no request.
std::optional<Request> parse_command_line(int argc, char** argv);

}  // namespace morva::host
