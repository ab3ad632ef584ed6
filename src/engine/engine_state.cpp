#include "engine/engine_state.h"

#include <cstdio>

#include "engine/boundary.h"
#include "gpu/gpu_error.h"

namespace morva {

EngineState& engine_state() {
  // Never destroyed: a GPU's driver may be gone before the statics of a process are.
  static EngineState& state = *new EngineState;
  return state;
}

ProfileStore* ensure_profiles(MorvaError* err) {
  EngineState& state = engine_state();
  const std::lock_guard guard(state.state_lock);
  if (state.store != nullptr) return state.store.get();
  std::filesystem::path root = find_profiles_dir();
  if (root.empty()) {
    fail(err, MORVA_PROFILE_FAILED,
         "каталог профилей не найден: "
         "morva_profiles_load(), MORVA_PROFILES_DIR или profiles рядом с DLL");
    return nullptr;
  }
  state.store = std::make_unique<ProfileStore>(std::move(root));
  return state.store.get();
}

std::int32_t gpu_lost(MorvaError* err) noexcept {
  char text[96];
  std::snprintf(text, sizeof text, "видеокарта перестала отвечать: %s",
                gpu::loss_name(engine_state().gpu.last_loss.reason));
  return fail(err, MORVA_GPU_LOST, text);
}

}  // namespace morva
