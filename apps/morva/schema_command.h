// morva schema: the options as JSON Schema, for editors and for programs that make presets.
#pragma once

namespace morva::host {

struct SchemaRequest {};

void run(const SchemaRequest& request);

}  // namespace morva::host
