#include "jpeg_writer.h"

// jpeglib.h needs the C streams declared before it.
#include <cstdio>
//
#include <jpeglib.h>

#include <csetjmp>
#include <string>
#include <vector>

#include "byte_file.h"
#include "camera_block.h"
#include "cancel_signal.h"
#include "host_error.h"
#include "icc_profile.h"
#include "sample_encoding.h"

namespace morva::host {
namespace {

// As with PNG: an error jumps out of a group of calls that owns nothing.
class JpegEncoder {
 public:
  explicit JpegEncoder(std::FILE* stream) {
    codec_.err = jpeg_std_error(&errors_.base);
    errors_.base.error_exit = remember_and_jump;
    errors_.base.output_message = [](j_common_ptr) {};
    run([&](j_compress_ptr codec) {
      jpeg_create_compress(codec);
      jpeg_stdio_dest(codec, stream);
    });
  }
  ~JpegEncoder() { jpeg_destroy_compress(&codec_); }
  JpegEncoder(const JpegEncoder&) = delete;
  JpegEncoder& operator=(const JpegEncoder&) = delete;

  template <class Calls>
  void run(const Calls& calls) {
    if (setjmp(errors_.jump) != 0) {
      throw HostError(MORVA_FAILED, std::string("cannot write the JPEG: ") + errors_.message);
    }
    calls(&codec_);
  }

 private:
  struct Errors {
    jpeg_error_mgr base;  // first, so that a pointer to it is a pointer to the whole
    std::jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
  };

  static void remember_and_jump(j_common_ptr codec) {
    auto* errors = reinterpret_cast<Errors*>(codec->err);
    codec->err->format_message(codec, errors->message);
    std::longjmp(errors->jump, 1);
  }

  jpeg_compress_struct codec_{};
  Errors errors_{};
};

void start(JpegEncoder& encoder, const Picture& picture, int quality) {
  encoder.run([&](j_compress_ptr codec) {
    codec->image_width = static_cast<JDIMENSION>(picture.width);
    codec->image_height = static_cast<JDIMENSION>(picture.height);
    codec->input_components = 3;
    codec->in_color_space = JCS_RGB;
    jpeg_set_defaults(codec);
    jpeg_set_quality(codec, quality, TRUE);
    codec->comp_info[0].h_samp_factor = 1;
    codec->comp_info[0].v_samp_factor = 1;
    codec->optimize_coding = TRUE;
    jpeg_start_compress(codec, TRUE);
  });
}

void write_marker(JpegEncoder& encoder, int marker, const std::vector<uint8_t>& bytes) {
  encoder.run([&](j_compress_ptr codec) {
    jpeg_write_marker(codec, marker, bytes.data(), static_cast<unsigned>(bytes.size()));
  });
}

// The camera's block first, where readers look for it.
void write_notes(JpegEncoder& encoder, PixelSize size, const PictureNotes& notes) {
  if (!notes.camera.empty()) {
    std::vector<uint8_t> signed_block = {'E', 'x', 'i', 'f', 0, 0};
    for (const uint8_t byte : camera_block(notes.camera, size)) signed_block.push_back(byte);
    write_marker(encoder, JPEG_APP0 + 1, signed_block);
  }
  const std::vector<uint8_t> icc = srgb_icc_profile();
  encoder.run([&](j_compress_ptr codec) {
    jpeg_write_icc_profile(codec, icc.data(), static_cast<unsigned>(icc.size()));
  });
  if (!notes.setting.empty())
    write_marker(encoder, JPEG_COM, {notes.setting.begin(), notes.setting.end()});
}

}  // namespace

void write_jpeg(const Picture& picture, int quality, const PictureNotes& notes,
                const std::filesystem::path& file) {
  if (picture.width > JPEG_MAX_DIMENSION || picture.height > JPEG_MAX_DIMENSION) {
    throw HostError(MORVA_FAILED,
                    "the picture is too large for a JPEG: " + std::to_string(picture.width) +
                        " x " + std::to_string(picture.height));
  }
  ByteFile bytes(file);
  JpegEncoder encoder(bytes.stream());
  start(encoder, picture, quality);
  write_notes(encoder, picture.size(), notes);
  std::vector<uint8_t> row(picture.row_samples());
  for (int32_t y = 0; y < picture.height; ++y) {
    check_cancelled();
    encode_row(picture.row(y), std::span<uint8_t>(row));
    encoder.run([&](j_compress_ptr codec) {
      JSAMPROW line = row.data();
      jpeg_write_scanlines(codec, &line, 1);
    });
  }
  encoder.run([](j_compress_ptr codec) { jpeg_finish_compress(codec); });
  bytes.close();
}

}  // namespace morva::host
