#include "engine/engine_state.h"

#include "engine/boundary.h"

namespace morva {

EngineState& engine_state() {
  static EngineState state;
  return state;
}

ProfileStore* ensure_profiles(MorvaError* err) {
  EngineState& state = engine_state();
  const std::lock_guard guard(state.state_lock);
  if (state.store != nullptr) return state.store.get();
  std::filesystem::path root = find_profiles_dir();
  if (root.empty()) {
    fail(err, MORVA_PROFILE_FAILED,
         "каталог профилей не найден: morva_profiles_load(), MORVA_PROFILES_DIR или profiles рядом "
         "с "
         "DLL");
    return nullptr;
  }
  state.store = std::make_unique<ProfileStore>(std::move(root));
  return state.store.get();
}

}  // namespace morva
