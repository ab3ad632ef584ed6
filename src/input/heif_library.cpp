#include "input/heif_library.h"

#include <stdexcept>
#include <string>

#include "profiles/opened_library.h"

namespace morva {
namespace {

#if defined(_WIN32)
constexpr const char* kLibraryFile = "heif.dll";
#elif defined(__APPLE__)
constexpr const char* kLibraryFile = "libheif.1.dylib";
#else
constexpr const char* kLibraryFile = "libheif.so.1";
#endif

[[noreturn]] void fail(const std::string& reason) {
  throw std::runtime_error("libheif: " + reason);
}

template <class Function>
void bind(const OpenedLibrary& library, const char* name, Function& function) {
  if (!library.find(name, function)) fail(std::string(kLibraryFile) + " has no " + name);
}

HeifLibrary bind_library() {
  const OpenedLibrary so = open_library(kLibraryFile);
  if (so.handle == nullptr) fail(so.reason);
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
