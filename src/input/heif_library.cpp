#include "input/heif_library.h"

#include <stdexcept>
#include <string>

#if defined(_WIN32)
#define NOMINMAX
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace morva {
namespace {

[[noreturn]] void fail(const std::string& reason) {
  throw std::runtime_error("libheif: " + reason);
}

#if defined(_WIN32)

constexpr const char* kLibraryFile = "heif.dll";

void* open_library() {
  HMODULE library = LoadLibraryExA(kLibraryFile, nullptr, LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
  if (!library) {
    fail(std::string("cannot load ") + kLibraryFile);
  }
  return library;
}

void* find_function(void* library, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

#else

#if defined(__APPLE__)
constexpr const char* kLibraryFile = "libheif.1.dylib";
#else
constexpr const char* kLibraryFile = "libheif.so.1";
#endif

void* open_library() {
  void* library = dlopen(kLibraryFile, RTLD_NOW | RTLD_LOCAL);
  if (!library) {
    const char* reason = dlerror();
    fail(reason ? reason : kLibraryFile);
  }
  return library;
}

void* find_function(void* library, const char* name) {
  return dlsym(library, name);
}

#endif

template <class Function>
void bind(void* library, const char* name, Function& function) {
  void* found = find_function(library, name);
  if (!found) {
    fail(std::string(kLibraryFile) + " has no " + name);
  }
  function = reinterpret_cast<Function>(found);
}

HeifLibrary bind_library() {
  void* so = open_library();
  HeifLibrary heif{};
  bind(so, "heif_context_alloc", heif.context_alloc);
  bind(so, "heif_context_free", heif.context_free);
  bind(so, "heif_context_set_maximum_image_size_limit", heif.context_set_maximum_image_size_limit);
  bind(so, "heif_context_set_max_decoding_threads", heif.context_set_max_decoding_threads);
  bind(so, "heif_context_read_from_memory_without_copy",
       heif.context_read_from_memory_without_copy);
  bind(so, "heif_context_get_primary_image_handle", heif.context_get_primary_image_handle);
  bind(so, "heif_image_handle_release", heif.image_handle_release);
  bind(so, "heif_image_handle_get_width", heif.image_handle_get_width);
  bind(so, "heif_image_handle_get_height", heif.image_handle_get_height);
  bind(so, "heif_image_handle_is_premultiplied_alpha", heif.image_handle_is_premultiplied_alpha);
  bind(so, "heif_image_handle_get_list_of_metadata_block_IDs",
       heif.image_handle_get_list_of_metadata_block_ids);
  bind(so, "heif_image_handle_get_metadata_size", heif.image_handle_get_metadata_size);
  bind(so, "heif_image_handle_get_metadata", heif.image_handle_get_metadata);
  bind(so, "heif_decode_image", heif.decode_image);
  bind(so, "heif_image_release", heif.image_release);
  bind(so, "heif_image_get_width", heif.image_get_width);
  bind(so, "heif_image_get_height", heif.image_get_height);
  bind(so, "heif_image_get_plane_readonly", heif.image_get_plane_readonly);
  return heif;
}

}  // namespace

const HeifLibrary& heif_library() {
  static const HeifLibrary library = bind_library();
  return library;
}

}  // namespace morva
