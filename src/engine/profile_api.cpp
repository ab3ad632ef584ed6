// The exports about profiles, memory and the version.

#include <cstdlib>

#include "engine/boundary.h"
#include "engine/engine_state.h"
#include "morva.h"
#include "profiles/system.h"

using namespace morva;

extern "C" {

MORVA_API const char* morva_version(void) {
  return "morva-win 0.1 (пакет 123, DX12)";
}

MORVA_API void morva_free(MorvaImage* image) {
  if (image == nullptr) return;
  std::free(image->data);
  *image = MorvaImage{};
}

MORVA_API void morva_free_bytes(void* bytes) {
  std::free(bytes);
}

MORVA_API int32_t morva_profiles_load(const char* dir, MorvaError* err) {
  clear(err);
  if (dir == nullptr || *dir == '\0')
    return fail(err, MORVA_BAD_ARGUMENT, "пустой путь к профилям");
  return guarded(err, render_failure, [&]() -> std::int32_t {
    const std::filesystem::path root = path_from_utf8(dir);
    std::error_code error;
    if (!std::filesystem::is_directory(root / "films", error))
      return fail(err, MORVA_PROFILE_FAILED, std::string("нет каталога films в ") + dir);
    EngineState& state = engine_state();
    const std::lock_guard guard(state.state_lock);
    state.store = std::make_unique<ProfileStore>(root);
    return MORVA_OK;
  });
}

MORVA_API int32_t morva_profiles_user_dir(const char* dir, MorvaError* err) {
  clear(err);
  return guarded(err, render_failure, [&]() -> std::int32_t {
    ProfileStore* store = ensure_profiles(err);
    if (store == nullptr) return MORVA_PROFILE_FAILED;
    store->set_user_dir(path_from_utf8(dir == nullptr ? "" : dir));
    return MORVA_OK;
  });
}

}  // extern "C"
