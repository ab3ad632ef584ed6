#include "png_writer.h"

#include <png.h>

#include <bit>
#include <csetjmp>
#include <string>
#include <vector>

#include "byte_file.h"
#include "camera_block.h"
#include "cancel_signal.h"
#include "host_error.h"
#include "icc_profile.h"
#include "sample_encoding.h"
#include "setting_in_picture.h"

namespace morva::host {
namespace {

// Grain hardly packs: above this level, or with more filters to choose from, time goes for 1 %.
constexpr int kDeflateLevel = 3;

// libpng reports an error by a jump. Each group of calls runs under a jump mark of its own and owns
// nothing that would need a destructor, and the jump becomes an exception outside.
class PngEncoder {
 public:
  explicit PngEncoder(std::FILE* stream)
      : png_(png_create_write_struct(PNG_LIBPNG_VER_STRING, this, remember_and_jump, ignore)),
        info_(png_ != nullptr ? png_create_info_struct(png_) : nullptr) {
    if (info_ == nullptr) {
      png_destroy_write_struct(&png_, nullptr);
      throw HostError(MORVA_FAILED, "cannot start the PNG encoder");
    }
    png_init_io(png_, stream);
  }
  ~PngEncoder() { png_destroy_write_struct(&png_, &info_); }
  PngEncoder(const PngEncoder&) = delete;
  PngEncoder& operator=(const PngEncoder&) = delete;

  template <class Calls>
  void run(const Calls& calls) {
    if (setjmp(png_jmpbuf(png_)) != 0) {
      throw HostError(MORVA_FAILED, std::string("cannot write the PNG: ") + message_);
    }
    calls(png_, info_);
  }

 private:
  static void remember_and_jump(png_structp png, png_const_charp text) {
    auto* self = static_cast<PngEncoder*>(png_get_error_ptr(png));
    std::snprintf(self->message_, sizeof self->message_, "%s", text);
    png_longjmp(png, 1);
  }
  static void ignore(png_structp, png_const_charp) {}

  png_structp png_;
  png_infop info_;
  char message_[128] = "";
};

// The library copies both.
void set_notes(png_structp png, png_infop info, png_text* setting, std::vector<uint8_t>& camera) {
  if (!camera.empty())
    png_set_eXIf_1(png, info, static_cast<png_uint_32>(camera.size()), camera.data());
  if (*setting->text != '\0') png_set_text(png, info, setting, 1);
}

void write_header(PngEncoder& encoder, const Picture& picture, int bits,
                  const PictureNotes& notes) {
  const std::vector<uint8_t> icc = srgb_icc_profile();
  std::string name = kSettingName, setting = notes.setting, none;
  png_text text{};
  text.compression = PNG_ITXT_COMPRESSION_NONE;
  text.key = name.data();
  text.text = setting.data();
  text.lang = text.lang_key = none.data();
  std::vector<uint8_t> camera;
  if (!notes.camera.empty()) camera = camera_block(notes.camera, picture.size());
  encoder.run([&](png_structp png, png_infop info) {
    png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_set_compression_level(png, kDeflateLevel);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB | PNG_FILTER_UP);
    png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width),
                 static_cast<png_uint_32>(picture.height), bits, PNG_COLOR_TYPE_RGB,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_iCCP(png, info, "sRGB", PNG_COMPRESSION_TYPE_BASE, icc.data(),
                 static_cast<png_uint_32>(icc.size()));
    set_notes(png, info, &text, camera);
    png_write_info(png, info);
    if (bits == 16 && std::endian::native == std::endian::little) png_set_swap(png);
  });
}

template <class Sample>
void write_rows(PngEncoder& encoder, const Picture& picture) {
  std::vector<Sample> row(picture.row_samples());
  for (int32_t y = 0; y < picture.height; ++y) {
    check_cancelled();
    encode_row(picture.row(y), std::span<Sample>(row));
    encoder.run([&](png_structp png, png_infop) {
      png_write_row(png, reinterpret_cast<png_const_bytep>(row.data()));
    });
  }
}

}  // namespace

void write_png(const Picture& picture, SampleType samples, const PictureNotes& notes,
               const std::filesystem::path& file) {
  ByteFile bytes(file);
  PngEncoder encoder(bytes.stream());
  const bool deep = samples == SampleType::uint16;
  write_header(encoder, picture, deep ? 16 : 8, notes);
  if (deep) {
    write_rows<uint16_t>(encoder, picture);
  } else {
    write_rows<uint8_t>(encoder, picture);
  }
  encoder.run([](png_structp png, png_infop info) { png_write_end(png, info); });
  bytes.close();
}

}  // namespace morva::host
