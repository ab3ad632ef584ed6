// The library that reads HEIF, opened at the first such file. It brings its codecs with it, an
// encoder among them that is under the GPL, and they take longer to load than everything else
// together: a program that never meets a HEIF carries none of that.
#pragma once

#include <libheif/heif.h>

namespace morva {

struct HeifLibrary {
  decltype(&heif_context_alloc) context_alloc;
  decltype(&heif_context_free) context_free;
  decltype(&heif_context_set_maximum_image_size_limit) context_set_maximum_image_size_limit;
  decltype(&heif_context_set_max_decoding_threads) context_set_max_decoding_threads;
  decltype(&heif_context_read_from_memory_without_copy) context_read_from_memory_without_copy;
  decltype(&heif_context_get_primary_image_handle) context_get_primary_image_handle;
  decltype(&heif_image_handle_release) image_handle_release;
  decltype(&heif_image_handle_get_width) image_handle_get_width;
  decltype(&heif_image_handle_get_height) image_handle_get_height;
  decltype(&heif_image_handle_is_premultiplied_alpha) image_handle_is_premultiplied_alpha;
  decltype(&heif_image_handle_get_list_of_metadata_block_IDs)
      image_handle_get_list_of_metadata_block_ids;
  decltype(&heif_image_handle_get_metadata_size) image_handle_get_metadata_size;
  decltype(&heif_image_handle_get_metadata) image_handle_get_metadata;
  decltype(&heif_decode_image) decode_image;
  decltype(&heif_image_release) image_release;
  decltype(&heif_image_get_width) image_get_width;
  decltype(&heif_image_get_height) image_get_height;
  decltype(&heif_image_get_plane_readonly) image_get_plane_readonly;
};

// Opened once and kept for the life of the process; any thread may ask. Throws std::runtime_error
// "libheif: " and the system's reason when it cannot be opened or lacks a function; the next call
// tries again.
const HeifLibrary& heif_library();

}  // namespace morva
