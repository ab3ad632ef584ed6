#pragma once

namespace morva::gpu {

// Unloaded, the validation layer would have no name by which a leak of its own could be told from
// ours.
void keep_debug_layer_loaded();

}  // namespace morva::gpu
