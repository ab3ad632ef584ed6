// Picture files made in memory with the writing side of the libraries that the decoders read with,
// and an EXIF block put together byte by byte.
#pragma once

#include <gtest/gtest.h>
#include <jpeglib.h>
#include <png.h>
#include <tiffio.h>
#include <unistd.h>
#include <webp/encode.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace morva::testing_files {

using Bytes = std::vector<std::uint8_t>;

// A raster of 8-bit samples, `c` a pixel.
struct Raster {
  int w = 0;
  int h = 0;
  int c = 0;
  Bytes data;

  Raster(int width, int height, int channels)
      : w(width),
        h(height),
        c(channels),
        data(static_cast<std::size_t>(width * height * channels)) {}
  std::uint8_t* at(int y, int x) { return data.data() + (y * w + x) * c; }
  const std::uint8_t* at(int y, int x) const { return data.data() + (y * w + x) * c; }
};

// 24 x 16 in flat patches of 8 x 8, no two alike, so that JPEG keeps them and every turn shows.
inline Raster patches(int channels = 3) {
  Raster raster(24, 16, channels);
  for (int y = 0; y < raster.h; ++y) {
    for (int x = 0; x < raster.w; ++x) {
      for (int k = 0; k < channels; ++k) {
        const int patch = y / 8 * 3 + x / 8;
        raster.at(y, x)[k] = static_cast<std::uint8_t>(30 + 40 * ((patch + k * (patch + 1)) % 6));
      }
    }
  }
  return raster;
}

struct JpegForm {
  J_COLOR_SPACE stored = JCS_YCbCr;
  bool progressive = false;
  Bytes exif;  // with its signature
};

inline Bytes jpeg(const Raster& raster, const JpegForm& form = {}) {
  jpeg_compress_struct state{};
  jpeg_error_mgr errors{};
  state.err = jpeg_std_error(&errors);
  jpeg_create_compress(&state);
  unsigned char* block = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&state, &block, &size);
  state.image_width = static_cast<JDIMENSION>(raster.w);
  state.image_height = static_cast<JDIMENSION>(raster.h);
  state.input_components = raster.c;
  state.in_color_space = raster.c == 4 ? JCS_CMYK : raster.c == 3 ? JCS_RGB : JCS_GRAYSCALE;
  jpeg_set_defaults(&state);
  jpeg_set_colorspace(&state, raster.c == 1 ? JCS_GRAYSCALE : form.stored);
  jpeg_set_quality(&state, 100, TRUE);
  for (int k = 0; k < raster.c; ++k) {
    state.comp_info[k].h_samp_factor = state.comp_info[k].v_samp_factor = 1;
  }
  if (form.progressive) {
    jpeg_simple_progression(&state);
  }
  jpeg_start_compress(&state, TRUE);
  if (!form.exif.empty()) {
    jpeg_write_marker(&state, JPEG_APP0 + 1, form.exif.data(),
                      static_cast<unsigned>(form.exif.size()));
  }
  for (int y = 0; y < raster.h; ++y) {
    JSAMPROW row = const_cast<JSAMPROW>(raster.at(y, 0));
    jpeg_write_scanlines(&state, &row, 1);
  }
  jpeg_finish_compress(&state);
  jpeg_destroy_compress(&state);
  const Bytes file(block, block + size);
  std::free(block);
  return file;
}

struct PngForm {
  int colour_type = PNG_COLOR_TYPE_RGB;
  int depth = 8;
  bool interlaced = false;
  Bytes exif;  // without the signature
  std::vector<png_color> palette;
};

// `rows` holds the packed rows as the form has them.
inline Bytes png(int w, int h, const Bytes& rows, const PngForm& form = {}) {
  Bytes file;
  png_structp state = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(state);
  png_set_write_fn(
      state, &file,
      [](png_structp s, png_bytep data, png_size_t n) {
        Bytes* out = static_cast<Bytes*>(png_get_io_ptr(s));
        out->insert(out->end(), data, data + n);
      },
      [](png_structp) {});
  png_set_IHDR(state, info, static_cast<png_uint_32>(w), static_cast<png_uint_32>(h), form.depth,
               form.colour_type, form.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (!form.palette.empty()) {
    png_set_PLTE(state, info, form.palette.data(), static_cast<int>(form.palette.size()));
  }
  Bytes exif = form.exif;
  if (!exif.empty()) {
    png_set_eXIf_1(state, info, static_cast<png_uint_32>(exif.size()), exif.data());
  }
  png_write_info(state, info);
  const std::size_t row_bytes = rows.size() / static_cast<std::size_t>(h);
  std::vector<png_bytep> starts;
  for (int y = 0; y < h; ++y) {
    starts.push_back(const_cast<png_bytep>(rows.data()) + row_bytes * static_cast<std::size_t>(y));
  }
  png_write_image(state, starts.data());
  png_write_end(state, info);
  png_destroy_write_struct(&state, &info);
  return file;
}

// A file of the test's own that goes with it.
struct TemporaryFile {
  std::string path;

  explicit TemporaryFile(const std::string& name, const Bytes& bytes = {})
      : path((std::filesystem::temp_directory_path() /
              ("morva-" + std::to_string(getpid()) + "-" + name))
                 .string()) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() { std::filesystem::remove(path); }

  Bytes bytes() const {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
  }
};

// A TIFF whose tags and pixels `write` sets.
inline Bytes tiff(const std::function<void(TIFF*)>& write) {
  const TemporaryFile file("written.tif");
  TIFF* state = TIFFOpen(file.path.c_str(), "w");
  write(state);
  TIFFClose(state);
  return file.bytes();
}

struct TiffForm {
  int depth = 8;
  int sample_format = SAMPLEFORMAT_UINT;
  int photometric = PHOTOMETRIC_RGB;
  int compression = COMPRESSION_LZW;
  int orientation = 1;
  std::vector<std::uint16_t> extra;
};

inline void set_tiff_tags(TIFF* state, int w, int h, int c, const TiffForm& form) {
  TIFFSetField(state, TIFFTAG_IMAGEWIDTH, w);
  TIFFSetField(state, TIFFTAG_IMAGELENGTH, h);
  TIFFSetField(state, TIFFTAG_SAMPLESPERPIXEL, c);
  TIFFSetField(state, TIFFTAG_BITSPERSAMPLE, form.depth);
  TIFFSetField(state, TIFFTAG_SAMPLEFORMAT, form.sample_format);
  TIFFSetField(state, TIFFTAG_PHOTOMETRIC, form.photometric);
  TIFFSetField(state, TIFFTAG_COMPRESSION, form.compression);
  TIFFSetField(state, TIFFTAG_ORIENTATION, form.orientation);
  TIFFSetField(state, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(state, TIFFTAG_ROWSPERSTRIP, 5);
  if (!form.extra.empty()) {
    TIFFSetField(state, TIFFTAG_EXTRASAMPLES, static_cast<int>(form.extra.size()),
                 form.extra.data());
  }
}

// `rows` holds the packed rows as the form has them.
inline Bytes tiff(int w, int h, int c, const Bytes& rows, const TiffForm& form = {}) {
  return tiff([&](TIFF* state) {
    set_tiff_tags(state, w, h, c, form);
    const std::size_t row_bytes = rows.size() / static_cast<std::size_t>(h);
    for (int y = 0; y < h; ++y) {
      Bytes row(rows.begin() + static_cast<std::ptrdiff_t>(row_bytes) * y,
                rows.begin() + static_cast<std::ptrdiff_t>(row_bytes) * (y + 1));
      TIFFWriteScanline(state, row.data(), static_cast<std::uint32_t>(y));
    }
  });
}

inline void put(Bytes& out, std::uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) {
    out.push_back(static_cast<std::uint8_t>(value >> 8 * i));
  }
}

inline void put_chunk(Bytes& out, const char* type, const Bytes& data) {
  out.insert(out.end(), type, type + 4);
  put(out, data.size(), 4);
  out.insert(out.end(), data.begin(), data.end());
  out.resize(out.size() + data.size() % 2);
}

inline Bytes riff(const Bytes& chunks) {
  Bytes file{'R', 'I', 'F', 'F'};
  put(file, chunks.size() + 4, 4);
  for (const char c : {'W', 'E', 'B', 'P'}) {
    file.push_back(static_cast<std::uint8_t>(c));
  }
  file.insert(file.end(), chunks.begin(), chunks.end());
  return file;
}

// The coded picture with its chunk head, without a file around it.
inline Bytes webp_picture(const Raster& raster, bool lossless) {
  std::uint8_t* block = nullptr;
  const std::size_t size =
      raster.c == 4
          ? WebPEncodeLosslessRGBA(raster.data.data(), raster.w, raster.h, raster.w * 4, &block)
      : lossless
          ? WebPEncodeLosslessRGB(raster.data.data(), raster.w, raster.h, raster.w * 3, &block)
          : WebPEncodeRGB(raster.data.data(), raster.w, raster.h, raster.w * 3, 95.0f, &block);
  const Bytes picture(block + 12, block + size);
  WebPFree(block);
  return picture;
}

inline Bytes webp(const Raster& raster, bool lossless = true, const Bytes& exif = {}) {
  const Bytes picture = webp_picture(raster, lossless);
  if (exif.empty()) {
    return riff(picture);
  }
  Bytes extended;
  put(extended, 0x08, 4);  // an EXIF chunk follows
  put(extended, static_cast<std::uint64_t>(raster.w - 1), 3);
  put(extended, static_cast<std::uint64_t>(raster.h - 1), 3);
  Bytes chunks;
  put_chunk(chunks, "VP8X", extended);
  chunks.insert(chunks.end(), picture.begin(), picture.end());
  put_chunk(chunks, "EXIF", exif);
  return riff(chunks);
}

// An EXIF block, little-endian: directory entries as tag, type, count and the value's bytes.
struct ExifTagBytes {
  int tag;
  int type;
  std::uint32_t count;
  Bytes value;
};

inline ExifTagBytes exif_short(int tag, int value) {
  Bytes bytes;
  put(bytes, static_cast<std::uint64_t>(value), 2);
  return {tag, 3, 1, bytes};
}

inline ExifTagBytes exif_text(int tag, const std::string& text) {
  Bytes bytes(text.begin(), text.end());
  bytes.push_back(0);
  return {tag, 2, static_cast<std::uint32_t>(bytes.size()), bytes};
}

inline ExifTagBytes exif_ratio(int tag, std::uint32_t numerator, std::uint32_t denominator) {
  Bytes bytes;
  put(bytes, numerator, 4);
  put(bytes, denominator, 4);
  return {tag, 5, 1, bytes};
}

// Tags in rising order. The camera's own directory follows the first when `camera` is not empty.
inline Bytes exif_block(std::vector<ExifTagBytes> first,
                        const std::vector<ExifTagBytes>& camera = {}) {
  Bytes block{'I', 'I', 42, 0, 8, 0, 0, 0};
  const auto append = [&block](const std::vector<ExifTagBytes>& entries) {
    std::size_t spill = block.size() + 2 + entries.size() * 12 + 4;
    Bytes spilled;
    put(block, entries.size(), 2);
    for (const ExifTagBytes& entry : entries) {
      put(block, static_cast<std::uint64_t>(entry.tag), 2);
      put(block, static_cast<std::uint64_t>(entry.type), 2);
      put(block, entry.count, 4);
      Bytes field = entry.value;
      if (field.size() > 4) {
        field.clear();
        put(field, spill + spilled.size(), 4);
        spilled.insert(spilled.end(), entry.value.begin(), entry.value.end());
        spilled.resize(spilled.size() + spilled.size() % 2);
      }
      field.resize(4);
      block.insert(block.end(), field.begin(), field.end());
    }
    put(block, 0, 4);
    block.insert(block.end(), spilled.begin(), spilled.end());
  };
  if (camera.empty()) {
    append(first);
    return block;
  }
  std::size_t end = block.size() + 2 + (first.size() + 1) * 12 + 4;
  for (const ExifTagBytes& entry : first) {
    end += entry.value.size() > 4 ? entry.value.size() + entry.value.size() % 2 : 0;
  }
  Bytes pointer;
  put(pointer, end, 4);
  first.push_back({0x8769, 4, 1, pointer});
  append(first);
  append(camera);
  return block;
}

inline Bytes with_signature(const Bytes& block) {
  constexpr std::uint8_t signature[] = {'E', 'x', 'i', 'f', 0, 0};
  Bytes all(sizeof signature + block.size());
  std::copy(std::begin(signature), std::end(signature), all.begin());
  std::copy(block.begin(), block.end(), all.begin() + sizeof signature);
  return all;
}

// The text of the exception that `call` throws; empty when it throws none.
inline std::string failure_of(const std::function<void()>& call) {
  try {
    call();
  } catch (const std::exception& problem) {
    return problem.what();
  }
  return {};
}

}  // namespace morva::testing_files
