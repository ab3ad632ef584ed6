#include "profiles/opened_library.h"

#if defined(_WIN32)
#define NOMINMAX
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace morva {

#if defined(_WIN32)

OpenedLibrary open_library(const char* file) {
  HMODULE module = LoadLibraryExA(file, nullptr, LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
  if (module == nullptr) return {nullptr, std::string("cannot load ") + file};
  return {module, {}};
}

void* OpenedLibrary::address(const char* name) const {
  if (handle == nullptr) return nullptr;
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle), name));
}

#else

OpenedLibrary open_library(const char* file) {
  void* handle = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (handle != nullptr) return {handle, {}};
  const char* reason = dlerror();
  return {nullptr, reason != nullptr ? reason : file};
}

void* OpenedLibrary::address(const char* name) const {
  return handle != nullptr ? dlsym(handle, name) : nullptr;
}

#endif

}  // namespace morva
