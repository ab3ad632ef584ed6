// What outlives a call: the profile store and the GPU, and the two locks over them.
#pragma once

#include <memory>
#include <mutex>

#include "gpu/backend_holder.h"
#include "morva.h"
#include "profiles/store.h"

namespace morva {

struct EngineState {
  // Held for a whole render and for every change of backend; taken before the state lock, never
  // after.
  std::mutex render_lock;

  // Held for moments only, never while a picture is computed. Guards what follows.
  std::mutex state_lock;
  std::unique_ptr<ProfileStore> store;
  gpu::BackendHolder gpu;
};

EngineState& engine_state();

// The store, built on first need; null, with `err` filled, when no profile directory is found.
ProfileStore* ensure_profiles(MorvaError* err);

// Code 7 with the name of the last loss. The caller holds the state lock.
std::int32_t gpu_lost(MorvaError* err) noexcept;

}  // namespace morva
