// Ctrl-C. The signal handler only raises a flag; the engine reads it between its stages and the
// host between rows, and both unwind in order, so that no half-written file stays behind.
#pragma once

#include <cstdint>

namespace morva::host {

// Takes over SIGINT, SIGTERM and SIGHUP, except where the parent process had them ignored.
void install_cancel_signal();

// The flag as morva_render_ex takes it.
const int32_t* cancel_flag();

// Throws the "cancelled" failure once the flag is up.
void check_cancelled();

}  // namespace morva::host
